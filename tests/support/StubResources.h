// Resources of the stub backend. Buffers and textures keep real memory, so that contents can be looked at.

#pragma once

#include <string.h>

#include "KolmBufferTable.h"
#include "KolmFence.h"
#include "KolmImage.h"
#include "KolmLog.h"
#include "KolmQuery.h"
#include "KolmSampler.h"
#include "KolmTarget.h"
#include "KolmTextureTable.h"
#include "KolmTracing.h"
#include "StubObject.h"

/// "f0+6 l0+1 m0+3" of a slice, "x,y,z wxhxd" of a region.
inline std::string getText(const Kolm::Slice &s) {
    char text[128];
    snprintf(text, sizeof(text), "f%u+%u l%u+%u m%u+%u", s.face, s.faces, s.layer, s.layers, s.mipmap, s.mipmaps);
    return text;
}
inline std::string getText(const Kolm::Region &r) {
    char text[128];
    snprintf(text, sizeof(text), "%u,%u,%u %ux%ux%u", r.x, r.y, r.z, r.width, r.height, r.depth);
    return text;
}

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
    bool bind(const size_t *offsets, const size_t *sizes, uint32_t num, bool bind) {
        for(uint32_t i = 0; i < num; i++) calls.add("bindBuffer %zu %zu %d", offsets[i], sizes[i], bind);
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

/// Keeps its pixels in an image of its own format.
class StubTexture : public StubObject<Kolm::Texture> {
public:
    StubTexture(Kolm::Platform platform, StubCalls &calls) : StubObject(platform, 0u), calls(calls) { count++; }
    ~StubTexture() override { count--; }

    void clear() override {
        created = false;
        memory.clear();
        Texture::clear();
    }
    bool isCreated() const override { return created; }
    using Texture::create;
    bool create(Type type, Kolm::Format format, const Kolm::Size &size, uint32_t layers, Flags flags) override {
        if(!init(type, format, size, layers, flags)) return false;
        const Kolm::Image::Flags image_flags = hasMipmaps() ? Kolm::Image::FlagMipmaps : Kolm::Image::FlagNone;
        if(getMemory() > max_size ||
           !memory.create(Kolm::Image::Type(type), format, getSize(), texture_layers, image_flags)) {
            Kolm::Log::printf(Kolm::Log::Error, "StubTexture::create(): can't create %s texture\n",
                              getDescription().get());
            clear();
            return false;
        }
        if(flags & FlagSparse) {
            texture_tile_width = texture_tile_height = 128;
            texture_tile_depth = 1;
            if(is3DType()) texture_tile_width = texture_tile_height = texture_tile_depth = 32;
        }
        calls.add("createTexture %s", getDescription().get());
        return created = true;
    }
    bool create(Texture *texture) override {
        if(!init(texture)) return false;
        memory = static_cast<StubTexture *>(texture)->memory;
        return created = true;
    }

    using Texture::check_bind;
    using Texture::check_clear;
    using Texture::check_copy;
    using Texture::check_get;
    using Texture::check_mipmaps;
    using Texture::check_set;
    using Texture::get_format;
    using Texture::init;

    StubCalls &calls;
    Kolm::Image memory;
    bool created = false;
    static inline size_t max_size = size_t(1) << 28; // what the stub's memory holds
    static inline int count = 0;                     // textures that live
};

class StubSampler : public StubObject<Kolm::Sampler> {
public:
    StubSampler(Kolm::Platform platform, const Sampler *sampler, StubCalls &calls)
        : StubObject(platform, 0u, sampler), calls(calls) {}
    void clear() override {
        created = false;
        Sampler::clear();
    }
    bool isCreated() const override { return created; }
    bool create() override {
        calls.add("createSampler %d %u", int(filter), anisotropy);
        return created = true;
    }

    StubCalls &calls;
    bool created = false;
};

class StubTarget : public StubObject<Kolm::Target> {
public:
    StubTarget(Kolm::Platform platform, const Kolm::Surface *surface, const Target *&enabled, StubCalls &calls)
        : StubObject(platform, 0u, surface), enabled(enabled), calls(calls) {}

    const Target *&enabled; // the device's
    StubCalls &calls;
    int clears = 0; // calls of clear_target

protected:
    bool begin_target(Kolm::Fence *fence) override {
        calls.add("beginTarget %ux%u%s", getWidth(), getHeight(), fence ? " fence" : "");
        enabled = this;
        return true;
    }
    bool end_target(Kolm::Fence *fence) override {
        calls.add("endTarget%s", fence ? " fence" : "");
        enabled = nullptr;
        return true;
    }
    void clear_target() override { clears++; }
};

class StubBufferTable : public StubObject<Kolm::BufferTable> {
public:
    explicit StubBufferTable(Kolm::Platform platform) : StubObject(platform, 0u) {}
    void clear() override {
        created = false;
        BufferTable::clear();
    }
    bool isCreated() const override { return created; }
    bool create(uint32_t size) override { return created = init(size); }

    bool created = false;
};

class StubTextureTable : public StubObject<Kolm::TextureTable> {
public:
    explicit StubTextureTable(Kolm::Platform platform) : StubObject(platform, 0u) {}
    void clear() override {
        created = false;
        TextureTable::clear();
    }
    bool isCreated() const override { return created; }
    bool create(Kolm::Texture::Type type, uint32_t size) override { return created = init(type, size); }

    bool created = false;
};

/// Its result is there when a test says so.
class StubQuery : public StubObject<Kolm::Query> {
public:
    explicit StubQuery(Kolm::Platform platform) : StubObject(platform, 0u) {}
    void clear() override {
        created = false;
        Query::clear();
    }
    bool isCreated() const override { return created; }
    bool create(Type type) override { return created = init(type); }

    std::vector<uint64_t> values; // empty while the work runs
    bool created = false;

protected:
    bool get_values(uint64_t *dest) const override {
        if(values.size() < getNumValues()) return false;
        memcpy(dest, values.data(), sizeof(uint64_t) * getNumValues());
        return true;
    }
};

class StubFence : public StubObject<Kolm::Fence> {
public:
    explicit StubFence(Kolm::Platform platform) : StubObject(platform, 0u) {}
    void clear() override {
        created = false;
        Fence::clear();
    }
    bool isCreated() const override { return created; }
    bool create(Flags flags) override { return created = init(flags); }
    bool create(Fence *fence) override { return created = init(fence); }
    int32_t getHandle() const override { return hasFlag(FlagShared) ? 3 : -1; }

    uint64_t reached = 0; // signals that the device gave
    bool created = false;

protected:
    bool wait_value(uint64_t value, uint64_t) const override { return (value <= reached); }
};

class StubTracing : public StubObject<Kolm::Tracing> {
public:
    StubTracing(Kolm::Platform platform, const Tracing *tracing) : StubObject(platform, 0u, tracing) {}
    void clear() override {
        created = false;
        Tracing::clear();
    }
    bool isCreated() const override { return created; }
    bool create(Flags flags) override {
        if(!init(flags)) return false;
        tracing_size = 4096;
        build_size = 1000;
        update_size = 100;
        return created = true;
    }

    bool created = false;
};
