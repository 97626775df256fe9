// Tests of what goes wrong around pieces of work: by whom, and what may be said about it.

#pragma once

#include "DriverLayer.h"
#include "GpuTest.h"

class FailureTest : public GpuTest {
protected:
    void SetUp() override {
        GpuTest::SetUp();
        // The layer wants a member of the record of Vulkan 1.2, which the extension does not need.
        allowLog("VUID-VkSamplerCreateInfo-pNext-06726");
    }
    void TearDown() override {
        DriverLayer::fail(0);
        DriverLayer::lose(nullptr);
        DriverLayer::showAll();
        Kolm::VK::hideAdapterExtension(nullptr);
        GpuTest::TearDown();
    }

    static std::string join(const std::vector<std::string> &lines) {
        std::string text;
        for(const std::string &line : lines) text += line;
        return text;
    }
    /// Lets each call of \p run that makes an object or takes memory fail in its turn, until all of them went well, on a
    /// new device each time with \p is_new. \p check tells, after each, whether the device is still of use.
    template<class Run, class Check> void failEach(bool is_new, const Run &run, const Check &check) {
        for(uint32_t number = 1; !HasFailure(); number++) {
            if(number == 1 || is_new) reopen();
            DriverLayer::fail(number);
            const bool status = run();
            const char *failed = DriverLayer::getFailed();
            DriverLayer::fail(0);
            SCOPED_TRACE(std::string(failed ? failed : "nothing") + " fails as call " + std::to_string(number));
            const std::vector<std::string> lines = takeLog();
            checkLines(lines, failed ? 8 : 0);
            EXPECT_TRUE(status || failed);
            if(failed == nullptr) break;
            EXPECT_TRUE(status || !lines.empty());
            EXPECT_TRUE(check(failed)) << "the device is of no use any more";
            EXPECT_EQ(join(takeLog()), "");
        }
    }

    /// Lines of ours, few of them: none of a validation layer or about a leak.
    static void checkLines(const std::vector<std::string> &lines, size_t max_lines) {
        EXPECT_LE(lines.size(), max_lines) << join(lines);
        for(const std::string &line : lines) {
            EXPECT_EQ(line.find("VK::debug"), std::string::npos) << line;
            EXPECT_EQ(line.find("unreleased"), std::string::npos) << line;
            EXPECT_NE(line.find("(): "), std::string::npos) << line;
        }
    }
};
