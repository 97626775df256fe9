// The forms of the device that lean on others, and its factories.

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "StubDevice.h"

using namespace Kolm;

TEST(Device, fills_in_offsets_and_sizes) {
    StubDevice device;
    std::unique_ptr<Buffer> a(device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, 32));
    std::unique_ptr<Buffer> b(device.createBuffer(Buffer::FlagStorage, 64));
    std::unique_ptr<Buffer> w(device.createBuffer(Buffer::FlagWrite, 16));
    device.calls.take();
    uint8_t bytes[64] = {};
    const uint32_t word = 7;
    const struct {
        const char *name;
        std::function<bool()> run;
        const char *calls;
    } rows[] = {
        {"set", [&] { return device.setBuffer(a.get(), bytes); }, "setBuffer 0 32\n"},
        {"set size", [&] { return device.setBuffer(a.get(), bytes, 8); }, "setBuffer 0 8\n"},
        {"get", [&] { return device.getBuffer(a.get(), bytes); }, "getBuffer 0 32\n"},
        {"get size", [&] { return device.getBuffer(a.get(), bytes, 8); }, "getBuffer 0 8\n"},
        {"map", [&] { return device.mapBuffer(w.get()) && device.unmapBuffer(w.get()); },
         "mapBuffer 0 16\nunmapBuffer\n"},
        {"map size", [&] { return device.mapBuffer(w.get(), 4) && device.unmapBuffer(w.get()); },
         "mapBuffer 0 4\nunmapBuffer\n"},
        {"copy", [&] { return device.copyBuffer(b.get(), a.get()); }, "copyBuffer 0 0 32\n"},
        {"copy size", [&] { return device.copyBuffer(b.get(), a.get(), 8); }, "copyBuffer 0 0 8\n"},
        {"clear", [&] { return device.clearBuffer(b.get()); }, "clearBuffer 0 64 0x00000000\n"},
        {"clear value", [&] { return device.clearBuffer(b.get(), FormatRu32, &word); },
         "clearBuffer 0 64 0x00000007\n"},
        {"clear size", [&] { return device.clearBuffer(b.get(), FormatRu32, &word, 8); },
         "clearBuffer 0 8 0x00000007\n"},
        {"flush",
         [&] {
             return device.flushBuffers({a.get(), b.get()}, Buffer::FlagIndirect);
         },
         "flushBuffers 2 0x8000\n"},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(row.run());
        EXPECT_EQ(device.calls.take(), row.calls);
    }
}

TEST(Device, asserts_null_buffers) {
    StubDevice device;
    const struct {
        std::function<void()> run;
        const char *text;
    } rows[] = {
        {[&] { device.setBuffer(nullptr, ""); }, "VKDevice::setBuffer(): buffer is null"},
        {[&] { device.getBuffer(nullptr, nullptr); }, "VKDevice::getBuffer(): buffer is null"},
        {[&] { device.mapBuffer(nullptr); }, "VKDevice::mapBuffer(): buffer is null"},
        {[&] { device.copyBuffer(nullptr, nullptr); }, "VKDevice::copyBuffer(): src buffer is null"},
        {[&] { device.clearBuffer(nullptr); }, "VKDevice::clearBuffer(): buffer is null"},
    };
    for(const auto &row : rows) {
        const ChildProcess child = runChild(row.run);
        EXPECT_TRUE(child.isAborted()) << row.text;
        EXPECT_NE(child.err.find(std::string("\"") + row.text + "\""), std::string::npos) << child.err;
    }
}

TEST(Device, deletes_what_could_not_be_created) {
    CapturedLog log;
    StubDevice device;
    const int buffers = StubBuffer::count, shaders = StubShader::count;

    std::unique_ptr<Buffer> buffer(device.createBuffer(Buffer::FlagStorage, "1234", 4, FormatRGBAu8n));
    ASSERT_TRUE(buffer);
    EXPECT_EQ(device.calls.take(), "createBuffer 4\nsetBuffer 0 4\n");
    EXPECT_EQ(buffer->getFormat(), FormatRGBAu8n);
    buffer.reset(device.createBuffer(Buffer::FlagStorage, nullptr, 4));
    EXPECT_EQ(device.calls.take(), "createBuffer 4\n");
    buffer.reset();

    EXPECT_EQ(device.createBuffer(Buffer::FlagRead | Buffer::FlagWrite, 16), nullptr);
    EXPECT_EQ(log.size(), 1u);
    EXPECT_EQ(device.createBuffer(Buffer::FlagStorage, size_t(1) << 40), nullptr);
    EXPECT_EQ(device.createBuffer(Buffer::FlagRead, "1234", 4), nullptr) << "a read buffer takes no data";
    EXPECT_EQ(device.createBuffer(static_cast<Buffer *>(nullptr)), nullptr);
    EXPECT_EQ(StubBuffer::count, buffers);

    std::unique_ptr<Shader> shader(device.createShader(Shader::TypeCompute, "void main() {}", "A=%d", 1));
    EXPECT_TRUE(shader);
    shader.reset(device.createShaderSPIRV(Shader::TypeCompute, {1, 2}));
    EXPECT_TRUE(shader);
    shader.reset();
    EXPECT_EQ(device.createShader(Shader::TypeCompute, "bad"), nullptr);
    EXPECT_EQ(device.loadShader(Shader::TypeCompute, "/nowhere/shader.comp"), nullptr);
    EXPECT_EQ(device.createShaderSPIRV(Shader::TypeCompute, {}), nullptr);
    EXPECT_EQ(StubShader::count, shaders);

    device.no_objects = true;
    EXPECT_EQ(device.createBuffer(Buffer::FlagStorage, 16), nullptr);
    EXPECT_EQ(device.createShader(Shader::TypeCompute, "void main() {}"), nullptr);
}

TEST(Device, names_vendors) {
    StubDevice device;
    static const struct {
        uint32_t id;
        const char *name;
        bool (Device::*is)() const;
    } rows[] = {
        {0x1002, "AMD", &Device::isVendorAMD},
        {0x10DE, "Nvidia", &Device::isVendorNvidia},
        {0x8086, "Intel", &Device::isVendorIntel},
        {0x5143, "Qualcomm", &Device::isVendorQualcomm},
        {0x13B5, "0x13b5", &Device::isVendorARM},
        {0x106B, "0x106b", &Device::isVendorApple},
        {0x10005, "0x10005", nullptr},
        {1, "0x0001", nullptr},
    };
    for(const auto &row : rows) {
        device.features.vendorID = row.id;
        EXPECT_STREQ(device.getVendor().get(), row.name);
        for(const auto &test : rows) {
            if(test.is == nullptr) continue;
            EXPECT_EQ((device.*test.is)(), test.id == row.id);
        }
    }
}

// The order is part of the interface: an application's record has the same layout.
TEST(Device, lists_all_features) {
    static const char *const names[] = {
#define FEATURE(TYPE, NAME) #NAME,
#include "KolmDeviceFeatures.inc"
    };
    static const size_t offsets[] = {
#define FEATURE(TYPE, NAME) offsetof(Device::Features, NAME),
#include "KolmDeviceFeatures.inc"
    };
    ASSERT_EQ(array_size(names), 79u);
    EXPECT_STREQ(names[0], "threadAccess");
    EXPECT_STREQ(names[24], "recursionDepth");
    EXPECT_STREQ(names[78], "initialized");
    for(uint32_t i = 1; i < array_size(offsets); i++) EXPECT_LT(offsets[i - 1], offsets[i]);
}
