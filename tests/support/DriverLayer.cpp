#include "DriverLayer.h"

#include <algorithm>
#include <atomic>
#include <string.h>
#include <tuple>
#include <type_traits>
#include <vector>

#include "FeatureUse.h"

using namespace Kolm;

namespace {

enum Hook {
#define HOOK(NAME) Hook_##NAME,
#include "DriverHooks.inc"
    NumHooks,
};

enum class Kind { Make, Lose, Wait, Watch };

constexpr struct {
    const char *name;
    Kind kind;
} hooks[] = {
#define HOOK_MAKE(NAME) {#NAME, Kind::Make},
#define HOOK_LOSE(NAME) {#NAME, Kind::Lose},
#define HOOK_WAIT(NAME) {#NAME, Kind::Wait},
#define HOOK_WATCH(NAME) {#NAME, Kind::Watch},
#include "DriverHooks.inc"
};

// The wishes of the test that runs.
std::atomic<uint32_t> fail_number{0};
std::atomic<uint32_t> num_calls{0};
std::atomic<const char *> failed{nullptr};
VkResult fail_result = VK_SUCCESS;
std::string lose_function;
std::atomic<bool> is_lost{false};
uint32_t max_version = ~0u;
bool is_bare = false;
struct HiddenFeature {
    VkStructureType type;
    uint32_t index;
};
std::vector<HiddenFeature> hidden_features;

// failures

bool stops(Hook hook, VkResult &result) {
    switch(hooks[hook].kind) {
    case Kind::Make:
        if(++num_calls != fail_number) return false;
        failed = hooks[hook].name;
        result = fail_result;
        return true;
    case Kind::Lose:
    case Kind::Wait:
        if(lose_function == hooks[hook].name) is_lost = true;
        result = VK_ERROR_DEVICE_LOST;
        return is_lost;
    case Kind::Watch: break;
    }
    return false;
}

// What a failing call leaves where its result would be: pipelines, sets and command buffers are null by the rules of
// Vulkan, all others may be anything.
template<Hook hook, class Type> void spoil(Type *result) {
    constexpr bool is_null = (hook == Hook_vkCreateComputePipelines || hook == Hook_vkCreateGraphicsPipelines ||
                              hook == Hook_vkCreateRayTracingPipelinesKHR || hook == Hook_vkAllocateDescriptorSets ||
                              hook == Hook_vkAllocateCommandBuffers);
    if constexpr(std::is_pointer_v<Type>) memset(static_cast<void *>(result), is_null ? 0 : 0xAD, sizeof(*result));
}
template<Hook hook, class Type> void spoil(const Type &) {}

template<Hook hook, class Args> void watch(const Args &args) {
    if constexpr(hook == Hook_vkCreateShaderModule) FeatureUse::watchShader(*std::get<1>(args));
    if constexpr(hook == Hook_vkCreateDescriptorSetLayout) FeatureUse::watchSetLayout(*std::get<1>(args));
    if constexpr(hook == Hook_vkCreateGraphicsPipelines) FeatureUse::watchPipeline(*std::get<3>(args));
    if constexpr(hook == Hook_vkCreateImage) FeatureUse::watchImage(*std::get<1>(args));
    if constexpr(hook == Hook_vkCreateImageView) FeatureUse::watchView(*std::get<1>(args));
    if constexpr(hook == Hook_vkQueueBindSparse) FeatureUse::watchBind(*std::get<2>(args));
    if constexpr(hook == Hook_vkCmdDraw) {
        if(std::get<4>(args)) FeatureUse::use("baseInstanceIndex");
    }
    if constexpr(hook == Hook_vkCmdDrawIndexed) {
        if(std::get<5>(args)) FeatureUse::use("baseInstanceIndex");
    }
    if constexpr(hook == Hook_vkCmdDrawIndirect || hook == Hook_vkCmdDrawIndexedIndirect) {
        if(std::get<3>(args) > 1) FeatureUse::use("drawIndirectCount");
    }
    if constexpr(hook == Hook_vkCmdDrawMeshTasksIndirectEXT) {
        if(std::get<3>(args) > 1) FeatureUse::use("taskIndirectCount");
    }
    if constexpr(hook == Hook_vkCmdBeginConditionalRenderingEXT) FeatureUse::use("conditionalRendering");
    if constexpr(hook == Hook_vkCmdTraceRaysKHR) FeatureUse::use("rayTracing");
}

template<Hook hook, class Func> struct Call;
template<Hook hook, class Ret, class... Args> struct Call<hook, Ret(VKAPI_PTR *)(Args...)> {
    using Func = Ret(VKAPI_PTR *)(Args...);
    static inline Func next = nullptr;

    static Ret VKAPI_CALL call(Args... args) {
        const auto list = std::forward_as_tuple(args...);
        watch<hook>(list);
        if constexpr(std::is_same_v<Ret, VkResult>) {
            VkResult result = VK_SUCCESS;
            if(stops(hook, result)) {
                if(hooks[hook].kind == Kind::Wait) next(args...);
                if(hooks[hook].kind == Kind::Make)
                    spoil<hook>(std::get<sizeof...(Args) - 1>(list)); // results come last
                return result;
            }
        }
        return next(args...);
    }
};

// a lesser device

PFN_vkGetPhysicalDeviceFeatures get_features = nullptr;
PFN_vkGetPhysicalDeviceFeatures2 get_features2 = nullptr;
PFN_vkGetPhysicalDeviceProperties get_properties = nullptr;
PFN_vkGetPhysicalDeviceProperties2 get_properties2 = nullptr;
PFN_vkEnumerateDeviceExtensionProperties get_extensions = nullptr;
PFN_vkEnumerateInstanceVersion get_version = nullptr;

void hide(VkStructureType type, void *members, size_t size) {
    VkBool32 *values = static_cast<VkBool32 *>(members);
    for(const HiddenFeature &hidden : hidden_features) {
        if(hidden.type != type) continue;
        for(uint32_t i = 0; i < size / sizeof(VkBool32); i++) {
            if(i == hidden.index || hidden.index == ~0u) values[i] = VK_FALSE;
        }
    }
}

// All records of the chain that the library knows.
void hide_chain(VkBaseOutStructure *record) {
    for(; record; record = record->pNext) {
        switch(uint32_t(record->sType)) { // some are too new for the header
#define VK_FEATURES(NAME, RECORD, TYPE, CONDITION)                \
    case TYPE:                                                    \
        hide(TYPE, record + 1, sizeof(RECORD) - sizeof(*record)); \
        break;
#include "VKFeatures.inc"
        default: break;
        }
    }
}

VKAPI_ATTR void VKAPI_CALL lesser_features(VkPhysicalDevice device, VkPhysicalDeviceFeatures *features) {
    get_features(device, features);
    hide(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2, features, sizeof(*features));
}

VKAPI_ATTR void VKAPI_CALL lesser_features2(VkPhysicalDevice device, VkPhysicalDeviceFeatures2 *features) {
    get_features2(device, features);
    hide(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2, &features->features, sizeof(features->features));
    hide_chain(static_cast<VkBaseOutStructure *>(features->pNext));
}

VKAPI_ATTR void VKAPI_CALL lesser_properties(VkPhysicalDevice device, VkPhysicalDeviceProperties *properties) {
    get_properties(device, properties);
    properties->apiVersion = std::min(properties->apiVersion, max_version);
}

VKAPI_ATTR void VKAPI_CALL lesser_properties2(VkPhysicalDevice device, VkPhysicalDeviceProperties2 *properties) {
    get_properties2(device, properties);
    properties->properties.apiVersion = std::min(properties->properties.apiVersion, max_version);
}

VKAPI_ATTR VkResult VKAPI_CALL lesser_extensions(VkPhysicalDevice device, const char *name, uint32_t *num,
                                                 VkExtensionProperties *properties) {
    if(!is_bare) return get_extensions(device, name, num, properties);
    *num = 0;
    return VK_SUCCESS;
}

VKAPI_ATTR VkResult VKAPI_CALL lesser_version(uint32_t *version) {
    const VkResult result = get_version(version);
    *version = std::min(*version, max_version);
    return result;
}

template<class Func> PFN_vkVoidFunction put(Func &next, PFN_vkVoidFunction func, Func own) {
    next = reinterpret_cast<Func>(func);
    return func ? reinterpret_cast<PFN_vkVoidFunction>(own) : nullptr;
}

PFN_vkVoidFunction layer(const char *name, PFN_vkVoidFunction func) {
#define HOOK(NAME)               \
    if(strcmp(name, #NAME) == 0) \
        return put(Call<Hook_##NAME, PFN_##NAME>::next, func, &Call<Hook_##NAME, PFN_##NAME>::call);
#include "DriverHooks.inc"
    if(strcmp(name, "vkGetPhysicalDeviceFeatures") == 0) return put(get_features, func, lesser_features);
    if(strcmp(name, "vkGetPhysicalDeviceFeatures2") == 0) return put(get_features2, func, lesser_features2);
    if(strcmp(name, "vkGetPhysicalDeviceProperties") == 0) return put(get_properties, func, lesser_properties);
    if(strcmp(name, "vkGetPhysicalDeviceProperties2") == 0) return put(get_properties2, func, lesser_properties2);
    if(strcmp(name, "vkEnumerateDeviceExtensionProperties") == 0) return put(get_extensions, func, lesser_extensions);
    if(strcmp(name, "vkEnumerateInstanceVersion") == 0) return put(get_version, func, lesser_version);
    return func;
}

const bool is_installed = (VK::setLayer(layer), true);

} // namespace

void DriverLayer::fail(uint32_t number, VkResult result) {
    num_calls = 0;
    failed = nullptr;
    fail_result = result;
    fail_number = number;
}
const char *DriverLayer::getFailed() { return failed; }
uint32_t DriverLayer::getNumCalls() { return num_calls; }

void DriverLayer::lose(const char *function) {
    lose_function = function ? function : "";
    is_lost = false;
}

void DriverLayer::setVersion(uint32_t version, bool bare) {
    max_version = version;
    is_bare = bare;
}

void DriverLayer::hideFeature(VkStructureType type, uint32_t index) { hidden_features.push_back({type, index}); }

void DriverLayer::showAll() {
    hidden_features.clear();
    setVersion(~0u, false);
}
