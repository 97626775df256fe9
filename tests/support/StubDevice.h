// A backend without an API: its objects keep real memory, and every call that would reach a driver is one line of text.
// It stands for Vulkan unless told otherwise, so that messages carry the prefix of the real backend.

#pragma once

#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <string>
#include <vector>

#include "KolmComputeRecorder.h"
#include "KolmDevice.h"
#include "KolmLog.h"
#include "KolmOffscreen.h"
#include "KolmSurface.h"

/// What reached the driver, in order.
struct StubCalls {
    std::vector<std::string> lines;

    void add(const char *format, ...) KOLM_PRINTF(2, 3) {
        char text[256];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        lines.push_back(text);
    }
    std::string take() {
        std::string text;
        for(const std::string &line : lines) text += line + "\n";
        lines.clear();
        return text;
    }
};

/// Platform that a stub object stands for.
template<class Base> class StubObject : public Base {
public:
    template<class... Args> StubObject(Kolm::Platform platform, Args &&...args) : Base(args...), platform(platform) {}
    Kolm::Platform getPlatform() const override { return platform; }

    Kolm::Platform platform;
};

class StubShader : public StubObject<Kolm::Shader> {
public:
    explicit StubShader(Kolm::Platform platform) : StubObject(platform, 0u) { count++; }
    ~StubShader() override { count--; }

    void clear() override { created = false; }
    bool isCreated() const override { return created; }
    bool saveState(Kolm::Stream &stream) const override { return stream.writeString(source.c_str()); }

    std::string source;
    std::vector<uint32_t> words;
    bool created = false;
    static inline int count = 0; // shaders that live

protected:
    // The text "bad" is what this shader's language refuses.
    bool compile(Type type, const Kolm::String &src, Kolm::Shader::State &) override {
        shader_type = type;
        source = src.get();
        return created = (source.find("bad") == std::string::npos);
    }
    bool compile(Type type, const Kolm::Array<uint32_t> &opcodes, Kolm::Shader::State &) override {
        shader_type = type;
        words.assign(opcodes.get(), opcodes.get() + opcodes.size());
        return created = !words.empty();
    }
};

class StubBuffer : public StubObject<Kolm::Buffer> {
public:
    StubBuffer(Kolm::Platform platform, StubCalls &calls) : StubObject(platform, 0u), calls(calls) { count++; }
    ~StubBuffer() override { count--; }

    void clear() override {
        memory.clear();
        Buffer::clear();
    }
    bool isCreated() const override { return !memory.empty(); }
    bool create(Flags flags, size_t size, Kolm::Format format) override {
        if(!init(flags, size, format)) return false;
        if(size > max_size) {
            Kolm::Log::printf(Kolm::Log::Error, "StubBuffer::create(): can't create %s buffer\n",
                              getDescription().get());
            clear();
            return false;
        }
        memory.resize(size);
        if(flags & FlagSparse) buffer_page_size = 4096;
        calls.add("createBuffer %zu", size);
        return true;
    }
    bool create(Buffer *buffer) override {
        if(!init(buffer)) return false;
        memory = static_cast<StubBuffer *>(buffer)->memory;
        return true;
    }

    // What the rules are asked for, open to tests.
    using Buffer::check_bind;
    using Buffer::check_clear;
    using Buffer::check_copy;
    using Buffer::check_get;
    using Buffer::check_map;
    using Buffer::check_set;
    using Buffer::check_unmap;
    using Buffer::get_clear_value;

    bool set(size_t offset, const void *src, size_t size) {
        if(!check_set(offset, size)) return false;
        calls.add("setBuffer %zu %zu", offset, size);
        memcpy(memory.data() + offset, src, size);
        return true;
    }
    bool get(size_t offset, void *dest, size_t size) const {
        if(!check_get(offset, size)) return false;
        calls.add("getBuffer %zu %zu", offset, size);
        memcpy(dest, memory.data() + offset, size);
        return true;
    }
    void *map(size_t offset, size_t size) {
        if(!check_map(offset, size)) return nullptr;
        buffer_mapped = true;
        calls.add("mapBuffer %zu %zu", offset, size);
        return memory.data() + offset;
    }
    bool unmap() {
        if(!check_unmap()) return false;
        buffer_mapped = false;
        calls.add("unmapBuffer");
        return true;
    }
    bool copy(size_t dest_offset, const Buffer *src, size_t src_offset, size_t size) {
        if(!check_copy(dest_offset, src, src_offset, size)) return false;
        calls.add("copyBuffer %zu %zu %zu", dest_offset, src_offset, size);
        memmove(memory.data() + dest_offset, static_cast<const StubBuffer *>(src)->memory.data() + src_offset, size);
        return true;
    }
    bool fill(Kolm::Format format, size_t offset, const void *value, size_t size) {
        if(!check_clear(offset, size)) return false;
        bool status = true;
        const uint32_t word = get_clear_value(format, value, &status);
        if(!status) return false;
        calls.add("clearBuffer %zu %zu 0x%08x", offset, size, word);
        for(size_t i = 0; i < size; i++) memory[offset + i] = uint8_t(word >> (8 * (i % 4)));
        return true;
    }

    StubCalls &calls;
    std::vector<uint8_t> memory;
    static inline size_t max_size = size_t(1) << 30; // what the stub's memory holds
    static inline int count = 0;                     // buffers that live
};

class StubKernel : public StubObject<Kolm::Kernel> {
public:
    StubKernel(Kolm::Platform platform, const Kernel *kernel) : StubObject(platform, 0u, kernel) {}

    void clear() override {
        created = false;
        Kernel::clear();
    }
    bool isCreated() const override { return created; }
    bool create() override { return created = true; }
    void setGroupSize(uint32_t width, uint32_t height, uint32_t depth) {
        group_size[0] = uint16_t(width);
        group_size[1] = uint16_t(height);
        group_size[2] = uint16_t(depth);
    }

    bool created = false;

protected:
    Kolm::Shader *create_shader(Kernel *) override { return new StubShader(platform); }
};

class StubCompute : public StubObject<Kolm::ComputeRecorder> {
public:
    StubCompute(Kolm::Platform platform, const Kolm::Device::Features &features, StubCalls &calls)
        : StubObject(platform, 0u, features), calls(calls) {
        calls.add("begin");
    }
    ~StubCompute() override { calls.add("end"); }

    using ComputeRecorder::clear_memory;
    using ComputeRecorder::Slot;
    using ComputeRecorder::UpdateAll;
    using ComputeRecorder::UpdateStorage;
    using ComputeRecorder::UpdateStorageOffset;
    using ComputeRecorder::UpdateUniform;
    using ComputeRecorder::UpdateUniformOffset;
    const Slot &getUniform(uint32_t index) const { return uniforms[index]; }
    const Slot &getStorage(uint32_t index) const { return storages[index]; }
    const Slot &getIndirect() const { return indirect; }
    uint32_t getUpdateMask() const { return update_mask; }

    StubCalls &calls;
    std::vector<uint8_t> ring = std::vector<uint8_t>(65536); // transient memory
    size_t ring_offset = 0;

protected:
    void bind_kernel(Kolm::Kernel *kernel) override { calls.add("bind %s", kernel ? kernel->getName().get() : "null"); }
    bool allocate_memory(Transient, size_t size, Memory &memory) override {
        if(size > ring.size() - ring_offset) return false;
        memory.data = ring.data() + ring_offset;
        memory.handle = 1;
        memory.offset = ring_offset;
        ring_offset = (ring_offset + size + 255) / 256 * 256;
        return true;
    }
    bool record_dispatch(uint32_t width, uint32_t height, uint32_t depth) override {
        calls.add("dispatch %u %u %u", width, height, depth);
        return true;
    }
    bool record_dispatch_indirect() override {
        calls.add("dispatchIndirect %zu", indirect.offset);
        return true;
    }
    bool record_set(Kolm::Buffer *buffer, size_t offset, const void *src, size_t size) override {
        return cast<StubBuffer>(buffer)->set(offset, src, size);
    }
    bool record_copy(Kolm::Buffer *dest, size_t dest_offset, Kolm::Buffer *src, size_t src_offset,
                     size_t size) override {
        return cast<StubBuffer>(dest)->copy(dest_offset, src, src_offset, size);
    }
    bool record_clear(Kolm::Buffer *buffer, Kolm::Format format, size_t offset, const void *value,
                      size_t size) override {
        return cast<StubBuffer>(buffer)->fill(format, offset, value, size);
    }
    void record_barrier(Kolm::Buffer **, uint32_t num) override { calls.add("barrier %u", num); }
    void record_begin_conditional(Kolm::Buffer *, size_t offset) override { calls.add("beginConditional %zu", offset); }
    void record_end_conditional() override { calls.add("endConditional"); }
};

class StubDevice : public StubObject<Kolm::Device> {
public:
    explicit StubDevice(Kolm::Platform platform = Kolm::PlatformVK) : StubObject(platform, 0u) {
        features.conditionalRendering = true;
        features.uniformAlignment = 64;
        features.storageAlignment = 16;
        features.maxUniformSize = 4096;
        features.maxStorageSize = 1 << 20;
        features.maxGroupCountX = 65535;
        features.maxGroupCountY = 65535;
        features.maxGroupCountZ = 64;
    }

    Kolm::String getName() const override { return "Stub"; }
    Kolm::String getVendor() const override { return getVendorName(features.vendorID); }
    Kolm::String getVersion() const override { return "1"; }
    const Features &getFeatures() const override { return features; }
    bool hasShader(Kolm::Shader::Type type) const override { return (type == Kolm::Shader::TypeCompute); }

    Device *createDevice(uint32_t, uint32_t) override { return new StubDevice(platform); }
    Device *createCommandDevice(uint32_t) override { return new StubDevice(platform); }
    Device *createComputeDevice(uint32_t) override { return new StubDevice(platform); }
    Device *createCopyDevice(uint32_t) override { return nullptr; }

    using Device::createBuffer;
    Kolm::Buffer *createBuffer() override { return (no_objects) ? nullptr : new StubBuffer(platform, calls); }
    using Device::createShader;
    Kolm::Shader *createShader() override { return (no_objects) ? nullptr : new StubShader(platform); }
    Kolm::Kernel *createKernel(const Kolm::Kernel *kernel) override { return new StubKernel(platform, kernel); }
    void releaseKernel(Kolm::Kernel *kernel) override { cast<StubKernel>(kernel)->created = false; }
    Kolm::Compute *createCompute() override { return new StubCompute(platform, features, calls); }

    using Device::clearBuffer;
    using Device::copyBuffer;
    using Device::flushBuffers;
    using Device::getBuffer;
    using Device::mapBuffer;
    using Device::setBuffer;
    bool setBuffer(Kolm::Buffer *buffer, size_t offset, const void *src, size_t size) override {
        return cast<StubBuffer>(buffer)->set(offset, src, size);
    }
    bool getBuffer(Kolm::Buffer *buffer, size_t offset, void *dest, size_t size) override {
        return cast<StubBuffer>(buffer)->get(offset, dest, size);
    }
    void *mapBuffer(Kolm::Buffer *buffer, size_t offset, size_t size) override {
        return cast<StubBuffer>(buffer)->map(offset, size);
    }
    bool unmapBuffer(Kolm::Buffer *buffer) override { return cast<StubBuffer>(buffer)->unmap(); }
    bool copyBuffer(Kolm::Buffer *dest, size_t dest_offset, Kolm::Buffer *src, size_t src_offset,
                    size_t size) override {
        return cast<StubBuffer>(dest)->copy(dest_offset, src, src_offset, size);
    }
    bool clearBuffer(Kolm::Buffer *buffer, Kolm::Format format, size_t offset, const void *value,
                     size_t size) override {
        return cast<StubBuffer>(buffer)->fill(format, offset, value, size);
    }
    bool flushBuffer(Kolm::Buffer *buffer, Kolm::Buffer::Flags flags) override {
        return flushBuffers(&buffer, 1, flags);
    }
    bool flushBuffers(Kolm::Buffer **, uint32_t num, Kolm::Buffer::Flags flags) override {
        calls.add("flushBuffers %u 0x%x", num, uint32_t(flags));
        return true;
    }
    void releaseBuffer(Kolm::Buffer *buffer) override { cast<StubBuffer>(buffer)->memory.clear(); }

    bool execute(Device *) override { return frame("execute"); }
    bool flip(Kolm::Fence *) override { return frame("flip"); }
    bool flush() override { return frame("flush"); }
    bool finish() override { return frame("finish"); }
    bool check() override { return true; }

    StubCalls calls;
    Features features;
    bool no_objects = false; // factories fail

private:
    bool frame(const char *name) {
        calls.add("%s", name);
        return true;
    }
};

class StubOffscreen : public StubObject<Kolm::Offscreen> {
public:
    StubOffscreen(Kolm::Platform platform, uint32_t index) : StubObject(platform, index) {}

    bool isCreated() const override { return created; }
    bool create() override { return created = true; }
    bool flush() override { return created; }
    bool finish() override { return created; }

    bool created = false;
};
