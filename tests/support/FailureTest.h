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
