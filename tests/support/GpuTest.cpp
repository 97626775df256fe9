#include "GpuTest.h"

#include <algorithm>
#include <stdlib.h>
#include <string.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "KolmAllocator.h"
#include "KolmShaderCompiler.h"
#include "ReferenceCompiler.h"
#include "SpirvModule.h"
#include "VKOffscreen.h"

using namespace Kolm;

#if defined(__SANITIZE_ADDRESS__)
// Drivers and layers leave memory behind when they are unloaded. The library's own is counted after each test.
extern "C" __attribute__((visibility("default"))) const char *__asan_default_options() { return "detect_leaks=0"; }
#endif
#if defined(__SANITIZE_THREAD__)
// The layer and the driver are not built for the sanitizer, which does not see all of their locks.
extern "C" __attribute__((visibility("default"))) const char *__tsan_default_suppressions() {
    return "race:libVkLayer_khronos_validation.so\nrace:libvulkan_lvp.so\n";
}
#endif

void GpuTest::SetUpTestSuite() {
    if(getenv("OSTREVAN_GPU")) return;
    utsname name = {};
    uname(&name);
#if defined(__aarch64__)
    const std::string machine = "aarch64"; // also under an emulator, which tells its host's name
#else
    const std::string machine = name.machine;
#endif
    for(const char *folder : {"/usr/share/vulkan/icd.d", "/etc/vulkan/icd.d", "/usr/local/share/vulkan/icd.d"}) {
        for(const std::string &file : {std::string("/lvp_icd.") + machine + ".json", std::string("/lvp_icd.json")}) {
            const std::string path = folder + file;
            if(access(path.c_str(), R_OK)) continue;
            setenv("VK_DRIVER_FILES", path.c_str(), 1);
            setenv("VK_ICD_FILENAMES", path.c_str(), 1); // name of older loaders
            return;
        }
    }
}

static uint32_t num_known_messages = 0;
static Device::Features united_features;

uint32_t GpuTest::getNumKnownMessages() { return num_known_messages; }
const Device::Features &GpuTest::getUnitedFeatures() { return united_features; }

bool GpuTest::append_line(Log::Level level, size_t, const char *text, void *data) {
    GpuTest *test = static_cast<GpuTest *>(data);
    std::lock_guard<std::mutex> guard(test->mutex);
    test->lines.push_back({level, text});
    if(strncmp(text, "VK::debug()", 11)) return true;
    bool known = false;
    for(const std::string &allowed_text : test->allowed) known |= (strstr(text, allowed_text.c_str()) != nullptr);
    num_known_messages += known;
    return true;
}

static void unite(bool &united, bool value) { united |= value; }
template<class Type> static void unite(Type &united, Type value) { united = std::max(united, value); }

void GpuTest::SetUp() {
    memory = Allocator::getMemory();
    allocations = Allocator::getAllocations();
    Log::setCallback(append_line, this);
    VK::setValidation(true);
    offscreen.reset(new VKOffscreen());
    ASSERT_TRUE(offscreen->create()) << "no Vulkan device: install the software driver";
    ASSERT_TRUE(VK::checkLayer("KHRONOS_validation")) << "the validation layer is not installed";
    device.reset(new VKDevice(offscreen.get()));
    const Device::Features &features = device->getFeatures();
#define FEATURE(TYPE, NAME) unite(united_features.NAME, features.NAME);
#include "KolmDeviceFeatures.inc"
}

void GpuTest::TearDown() {
    device.reset();
    offscreen.reset();
    EXPECT_FALSE(VK::isOpened()) << "an object of the test holds its context";
    Log::setCallback(nullptr);
    for(const std::string &text : expected) EXPECT_NE(countLog(text), 0u) << "missing line: " << text;
    for(const Line &line : lines) {
        bool known = false;
        for(const std::string &text : expected) known |= (line.text.find(text) != std::string::npos);
        for(const std::string &text : allowed) known |= (line.text.find(text) != std::string::npos);
        if(!known && line.level <= Log::Warning) ADD_FAILURE() << "unexpected line: " << line.text;
    }
    EXPECT_EQ(Allocator::getMemory(), memory) << "memory of the library leaked";
    EXPECT_EQ(Allocator::getAllocations(), allocations);
}

void GpuTest::expectLog(const std::string &text) { expected.push_back(text); }

size_t GpuTest::countLog(const std::string &text) const {
    std::lock_guard<std::mutex> guard(mutex);
    size_t num = 0;
    for(const Line &line : lines) num += (line.text.find(text) != std::string::npos);
    return num;
}

std::vector<std::string> GpuTest::takeLog() {
    std::lock_guard<std::mutex> guard(mutex);
    std::vector<std::string> texts;
    for(const Line &line : lines) {
        bool known = (line.level > Log::Warning);
        for(const std::string &text : allowed) known |= (line.text.find(text) != std::string::npos);
        if(!known) texts.push_back(line.text);
    }
    lines.clear();
    return texts;
}

void GpuTest::reopen() {
    device.reset();
    offscreen.reset();
    ASSERT_FALSE(VK::isOpened()) << "an object of the test holds its context";
    offscreen.reset(new VKOffscreen());
    ASSERT_TRUE(offscreen->create());
    device.reset(new VKDevice(offscreen.get()));
}

GpuTest::BufferPtr GpuTest::createBuffer(Buffer::Flags flags, const std::vector<uint32_t> &words) {
    return BufferPtr(device->createBuffer(flags, words.data(), words.size() * sizeof(uint32_t)));
}

GpuTest::BufferPtr GpuTest::createBuffer(Buffer::Flags flags, size_t size) {
    return BufferPtr(device->createBuffer(flags, size));
}

std::vector<uint32_t> GpuTest::getWords(Buffer *buffer, size_t num) {
    std::vector<uint32_t> words(num ? num : buffer->getSize() / sizeof(uint32_t), 0xDEADBEEF);
    EXPECT_TRUE(device->getBuffer(buffer, 0, words.data(), words.size() * sizeof(uint32_t)));
    return words;
}

GpuTest::KernelPtr GpuTest::createKernel(const std::string &src, uint32_t uniforms, uint32_t storages,
                                         Kernel::BindFlags flags) {
    KernelPtr kernel(device->createKernel(nullptr));
    kernel->setUniforms(uniforms, flags);
    kernel->setStorages(storages, flags).setStorageOffset(uniforms);
    compile(src); // for the validator; the kernel's shader compiles it again, with the macros of the device
    if(kernel->createShaderGLSL(src.c_str()) && kernel->create()) return kernel;
    ADD_FAILURE() << "can't create kernel of\n" << src;
    return nullptr;
}

GpuTest::KernelPtr GpuTest::createKernel(const std::vector<uint32_t> &words, uint32_t uniforms, uint32_t storages) {
    KernelPtr kernel(device->createKernel(nullptr));
    kernel->setUniforms(uniforms);
    kernel->setStorages(storages).setStorageOffset(uniforms);
    if(kernel->createShaderSPIRV(Array<uint32_t>(uint32_t(words.size()), words.data())) && kernel->create())
        return kernel;
    ADD_FAILURE() << "can't create kernel of words";
    return nullptr;
}

std::vector<uint32_t> GpuTest::compile(const std::string &src) {
    ShaderCompiler compiler;
    if(!compiler.createGLSL(Shader::TypeCompute, src.c_str())) {
        ADD_FAILURE() << "can't compile\n" << src;
        return {};
    }
    const Array<uint32_t> &opcodes = compiler.getOpcodes();
    EXPECT_TRUE(SpirvModule(opcodes.get(), opcodes.size()).validate()) << src;
    return std::vector<uint32_t>(opcodes.get(), opcodes.get() + opcodes.size());
}

std::vector<uint32_t> GpuTest::compileReference(const std::string &src) {
#ifdef OSTREVAN_GLSLANG
    static ReferenceCompiler compiler;
    const std::vector<uint32_t> words = compiler.compile(Shader::TypeCompute, src.c_str());
    if(words.empty()) ADD_FAILURE() << "the reference compiler refuses\n" << src << compiler.message;
    return words;
#else
    ADD_FAILURE() << "this build has no reference compiler for\n" << src;
    return {};
#endif
}
