// What the suite did, at its end: messages of the validation layer, features of the device that were put to use, and
// tests that were skipped. A message that no test allowed is a failure of the whole suite.

#include <stdio.h>
#include <string>
#include <type_traits>
#include <vector>

#include "FeatureUse.h"
#include "GpuTest.h"

using namespace Kolm;

namespace {

class Summary : public testing::EmptyTestEventListener {
public:
    std::vector<std::string> skipped;

    void OnTestPartResult(const testing::TestPartResult &result) override {
        if(result.skipped()) reason = result.message();
    }
    void OnTestEnd(const testing::TestInfo &info) override {
        if(info.result()->Skipped())
            skipped.push_back(std::string(info.test_suite_name()) + "." + info.name() + ": " + reason);
    }

private:
    std::string reason;
};

class Suite : public testing::Environment {
public:
    explicit Suite(Summary *summary) : summary(summary) {}

    void TearDown() override {
        const uint32_t num_messages = VK::getNumMessages() - GpuTest::getNumKnownMessages();
        printf("%u validation messages, and %u that are known to be wrong\n", num_messages,
               GpuTest::getNumKnownMessages());
        EXPECT_EQ(num_messages, 0u);
        const Device::Features &features = GpuTest::getUnitedFeatures();
        if(!features.initialized) return;
        std::vector<std::string> used, unused, absent;
        const auto append = [&](const char *name, auto value) {
            if constexpr(std::is_same_v<decltype(value), bool>) {
                if(name == std::string("initialized")) return;
                (value ? FeatureUse::isUsed(name) ? used : unused : absent).push_back(name);
            }
        };
#define FEATURE(TYPE, NAME) append(#NAME, features.NAME);
#include "KolmDeviceFeatures.inc"
        print("features of the device that were used", used);
        print("features of the device that were not used", unused);
        print("features that the device does not have", absent);
        print("tests that were skipped", summary->skipped);
    }

private:
    static void print(const char *title, const std::vector<std::string> &list) {
        printf("%zu %s%s", list.size(), title, list.empty() ? "" : ":");
        for(const std::string &text : list) printf(" %s", text.c_str());
        printf("\n");
    }

    Summary *summary;
};

const bool is_added = [] {
    Summary *summary = new Summary();
    testing::UnitTest::GetInstance()->listeners().Append(summary);
    testing::AddGlobalTestEnvironment(new Suite(summary));
    return true;
}();

} // namespace
