// ostrevan info: the library's build record, and what each adapter can do.

#include "Commands.h"
#include "Output.h"

#include <Ostrevan.h>

#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <type_traits>

using namespace Ostrevan;

static void print_help() {
    printf("Usage: ostrevan info [--json]\n\n"
           "Prints the version and build record of the library, then each Vulkan adapter with its name, vendor,\n"
           "driver, features and limits.\n\n"
           "  --json   one JSON object on standard output\n\n"
           "Example: ostrevan info --json | python3 -m json.tool\n");
}

static void print_string(const char *text) {
    std::string json;
    appendJson(json, text);
    fputs(json.c_str(), stdout);
}

template<class Type> static void print_value(Type value) {
    if constexpr(std::is_same_v<Type, bool>)
        fputs(value ? "true" : "false", stdout);
    else
        printf("%" PRIu64, uint64_t(value));
}

// Where a group begins in the order of the list.
static const struct {
    const char *member;
    const char *title;
} groups[] = {
    {"threadAccess", "Resources"},
    {"baseInstanceIndex", "Drawing"},
    {"conditionalRendering", "Conditions and rays"},
    {"subgroupVote", "Subgroups"},
    {"shaderu8", "Shader arithmetic"},
    {"atomicGroupf32", "Atomics"},
    {"matrix16f16", "Cooperative matrices"},
    {"uniformAlignment", "Textures and alignments"},
    {"maxGroupSizeX", "Compute groups"},
    {"maxTaskCount", "Mesh shaders"},
    {"maxViewportCount", "Rasterisation"},
    {"maxUniformSize", "Memory, bytes"},
    {"vendorID", "Identity"},
};

static void print_group(const char *member) {
    for(const auto &group : groups) {
        if(strcmp(group.member, member) == 0) printf("%s\n", group.title);
    }
}

static void print_features(const Device::Features &features, bool json) {
    const char *comma = "";
#define OSTREVAN_FEATURE(TYPE, NAME)                              \
    if(strcmp(#NAME, "initialized") != 0) {                       \
        if(json) {                                                \
            printf("%s\"%s\":", comma, #NAME);                    \
            print_value<TYPE>(features.NAME);                     \
            comma = ",";                                          \
        } else {                                                  \
            print_group(#NAME);                                   \
            printf("  %-22s ", #NAME);                            \
            if constexpr(std::is_same_v<TYPE, bool>)              \
                printf("%s\n", features.NAME ? "yes" : "no");     \
            else                                                  \
                printf("%" PRIu64 "\n", uint64_t(features.NAME)); \
        }                                                         \
    }
#include <platform/OstrevanDeviceFeatures.inc>
}

int infoCommand(int argc, char **argv) {
    bool json = false;
    for(int i = 1; i < argc; i++) {
        if(strcmp(argv[i], "--help") == 0 || strcmp(argv[i], "-h") == 0) {
            print_help();
            return ExitDone;
        }
        if(strcmp(argv[i], "--json") == 0)
            json = true;
        else
            return usageError("info", "unknown argument \"%s\"", argv[i]);
    }

    if(json) {
        printf("{\"version\":%u,\"build_date\":", App::getVersion());
        print_string(App::getBuildDate().get());
        printf(",\"build\":");
        print_string(App::getBuildInfo().get());
        printf(",\"adapters\":[");
    } else {
        printf("Version  %u\nDate     %s\nBuild    %s\n", App::getVersion(), App::getBuildDate().get(),
               App::getBuildInfo().get());
        fflush(stdout);
    }

    const uint32_t num = Context::getNumAdapters(PlatformVK);
    bool failed = (num == 0);
    const char *comma = "";
    for(uint32_t i = 0; i < num; i++) {
        Context context(PlatformVK, i);
        if(!context.create()) {
            failed = true;
            continue;
        }
        Device device(context);
        if(!device) {
            failed = true;
            continue;
        }
        const String name = device.getName(), vendor = device.getVendor(), driver = device.getVersion();
        if(json) {
            printf("%s{\"index\":%u,\"name\":", comma, i);
            print_string(name.get());
            printf(",\"vendor\":");
            print_string(vendor.get());
            printf(",\"driver\":");
            print_string(driver.get());
            printf(",\"platform\":");
            print_string(context.getPlatformName());
            printf(",\"features\":{");
            print_features(device.getFeatures(), true);
            printf("}}");
            comma = ",";
        } else {
            printf("\nAdapter  %u\nName     %s\nVendor   %s\nDriver   %s\nPlatform %s\n", i, name.get(), vendor.get(),
                   driver.get(), context.getPlatformName());
            print_features(device.getFeatures(), false);
        }
    }
    if(json) printf("]}\n");
    return failed ? ExitFailed : ExitDone;
}
