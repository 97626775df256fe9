// A Vulkan device for tests: the software driver, the validation layer with synchronisation checks, and a log in which
// every unexpected line is a failure. After each test all of the library's memory must be back.

#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <stdint.h>
#include <string>
#include <vector>

#include "KolmKernel.h"
#include "KolmLog.h"
#include "VKCompute.h"
#include "VKDevice.h"
#include "VKOffscreen.h"

class GpuTest : public testing::Test {
public:
    /// Uses the software driver if it is installed; OSTREVAN_GPU=1 in the environment leaves the choice to the loader.
    static void SetUpTestSuite();

    void SetUp() override;
    void TearDown() override;

    /// Messages of the validation layer since the start of the process that a test allowed.
    static uint32_t getNumKnownMessages();
    /// What any device of a test had.
    static const Kolm::Device::Features &getUnitedFeatures();

protected:
    using BufferPtr = std::unique_ptr<Kolm::Buffer>;
    using KernelPtr = std::unique_ptr<Kolm::Kernel>;
    using ComputePtr = std::unique_ptr<Kolm::Compute>;
    using DevicePtr = std::unique_ptr<Kolm::Device>;

    /// A line that holds \p text is expected, any number of times, once at least.
    void expectLog(const std::string &text);
    /// A line that holds \p text may come: what one version of the layer says and another one does not.
    void allowLog(const std::string &text) { allowed.push_back(text); }
    /// Lines since the start of the test that hold \p text.
    size_t countLog(const std::string &text) const;
    /// Takes the warnings and errors that came so far, whose judgement is the test's then.
    std::vector<std::string> takeLog();
    /// Lets go of the device and makes another one, for what is seen by the next opening of Vulkan only.
    void reopen();

    /// Buffer of \p flags with the words.
    BufferPtr createBuffer(Kolm::Buffer::Flags flags, const std::vector<uint32_t> &words);
    BufferPtr createBuffer(Kolm::Buffer::Flags flags, size_t size);
    /// Words of a Source buffer.
    std::vector<uint32_t> getWords(Kolm::Buffer *buffer, size_t num = 0);
    /// Kernel of GLSL text through the library's own compiler; null after a failure of the test.
    KernelPtr createKernel(const std::string &src, uint32_t uniforms, uint32_t storages,
                           Kolm::Kernel::BindFlags flags = Kolm::Kernel::BindFlagNone);
    /// The same with words of SPIR-V.
    KernelPtr createKernel(const std::vector<uint32_t> &words, uint32_t uniforms, uint32_t storages);
    /// Words of a compute shader by the library's own compiler, validated; empty after a failure of the test.
    static std::vector<uint32_t> compile(const std::string &src);
    /// Words of a compute shader by the reference compiler; empty and a failure of the test if it refuses the text.
    static std::vector<uint32_t> compileReference(const std::string &src);
    ComputePtr createCompute() { return ComputePtr(device->createCompute()); }

    Kolm::VKOffscreen *getOffscreen() { return offscreen.get(); }
    Kolm::VKAdapter *getAdapter() { return device->getAdapter(); }
    Kolm::VKContext *getContext() { return device->getContext(); }

    std::unique_ptr<Kolm::VKOffscreen> offscreen;
    std::unique_ptr<Kolm::VKDevice> device;

private:
    struct Line {
        Kolm::Log::Level level;
        std::string text;
    };

    static bool append_line(Kolm::Log::Level level, size_t time, const char *text, void *data);

    mutable std::mutex mutex;
    std::vector<Line> lines;
    std::vector<std::string> expected;
    std::vector<std::string> allowed;
    size_t memory = 0;
    size_t allocations = 0;
};
