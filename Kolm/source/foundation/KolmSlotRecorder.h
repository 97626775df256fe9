// KolmSlotRecorder.h: the calls that Compute and Command have in common, written once: each names itself and goes to
// the rules of Recorder.

#pragma once

#include "KolmRecorder.h"

namespace Kolm {

/// \p Base is Compute or Command.
template<class Base> class SlotRecorder : public Base, protected Recorder {
public:
    SlotRecorder(uint32_t index, const char *name, const Device::Features &features)
        : Base(index), Recorder(static_cast<const PlatformBase &>(*this), name, features) {}

    using Base::setTexture; // those of images beside those of slots

    void setSampler(uint32_t index, Sampler *sampler) override {
        set_samplers(get_caller("setSampler"), index, &sampler, 1);
    }
    void setSamplers(uint32_t index, Sampler **samplers, uint32_t num) override {
        set_samplers(get_caller("setSamplers"), index, samplers, num);
    }
    void setTexture(uint32_t index, Texture *texture) override {
        set_textures(get_caller("setTexture"), index, &texture, 1);
    }
    void setTexture(uint32_t index, Texture *texture, const Slice &slice) override {
        set_texture(get_caller("setTexture"), index, texture, slice);
    }
    void setTextures(uint32_t index, Texture **textures, uint32_t num) override {
        set_textures(get_caller("setTextures"), index, textures, num);
    }
    void setSurfaceTexture(uint32_t index, Texture *texture) override {
        set_surfaces(get_caller("setSurfaceTexture"), index, &texture, 1);
    }
    void setSurfaceTexture(uint32_t index, Texture *texture, const Slice &slice, Format format) override {
        set_surface(get_caller("setSurfaceTexture"), index, texture, slice, format);
    }
    void setSurfaceTextures(uint32_t index, Texture **textures, uint32_t num) override {
        set_surfaces(get_caller("setSurfaceTextures"), index, textures, num);
    }

    void *getUniformData(uint32_t index, size_t size) override {
        return get_data(get_uniform_kind(), get_caller("getUniformData"), index, size);
    }
    void setUniformData(uint32_t index, const void *src, size_t size) override {
        set_data(get_uniform_kind(), get_caller("setUniformData"), index, src, size);
    }
    void setUniformBuffer(uint32_t index, Buffer *buffer, size_t offset, size_t size) override {
        set_buffer(get_uniform_kind(), get_caller("setUniformBuffer"), index, buffer, offset, size);
    }
    void setUniformBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets) override {
        set_buffers(get_uniform_kind(), get_caller("setUniformBuffers"), index, buffers, num, offsets);
    }
    void setUniformOffset(uint32_t index, size_t offset, bool relative) override {
        set_offset(get_uniform_kind(), get_caller("setUniformOffset"), index, offset, relative);
    }

    void *getStorageData(uint32_t index, size_t size) override {
        return get_data(get_storage_kind(), get_caller("getStorageData"), index, size);
    }
    void setStorageData(uint32_t index, const void *src, size_t size) override {
        set_data(get_storage_kind(), get_caller("setStorageData"), index, src, size);
    }
    void setStorageBuffer(uint32_t index, Buffer *buffer, size_t offset, size_t size) override {
        set_buffer(get_storage_kind(), get_caller("setStorageBuffer"), index, buffer, offset, size);
    }
    void setStorageBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets) override {
        set_buffers(get_storage_kind(), get_caller("setStorageBuffers"), index, buffers, num, offsets);
    }
    void setStorageOffset(uint32_t index, size_t offset, bool relative) override {
        set_offset(get_storage_kind(), get_caller("setStorageOffset"), index, offset, relative);
    }

    void setTracing(uint32_t index, Tracing *tracing) override {
        set_tracings(get_caller("setTracing"), index, &tracing, 1);
    }
    void setTracings(uint32_t index, Tracing **tracings, uint32_t num) override {
        set_tracings(get_caller("setTracings"), index, tracings, num);
    }
    void setTexelBuffer(uint32_t index, Buffer *buffer) override {
        set_texels(get_caller("setTexelBuffer"), index, &buffer, 1);
    }
    void setTexelBuffers(uint32_t index, Buffer **buffers, uint32_t num) override {
        set_texels(get_caller("setTexelBuffers"), index, buffers, num);
    }
    void setTextureTable(uint32_t index, TextureTable *table) override {
        set_texture_tables(get_caller("setTextureTable"), index, &table, 1);
    }
    void setTextureTables(uint32_t index, TextureTable **tables, uint32_t num) override {
        set_texture_tables(get_caller("setTextureTables"), index, tables, num);
    }
    void setStorageTable(uint32_t index, BufferTable *table) override {
        set_storage_tables(get_caller("setStorageTable"), index, &table, 1);
    }
    void setStorageTables(uint32_t index, BufferTable **tables, uint32_t num) override {
        set_storage_tables(get_caller("setStorageTables"), index, tables, num);
    }

    void *getIndirectData(size_t size) override {
        return get_data(get_indirect_kind(), get_caller("getIndirectData"), 0, size);
    }
    void setIndirectData(const void *src, size_t size) override {
        set_data(get_indirect_kind(), get_caller("setIndirectData"), 0, src, size);
    }
    void setIndirectBuffer(Buffer *buffer, size_t offset) override {
        set_buffer(get_indirect_kind(), get_caller("setIndirectBuffer"), 0, buffer, offset, 0);
    }
    void setIndirectOffset(size_t offset, bool relative) override {
        set_offset(get_indirect_kind(), get_caller("setIndirectOffset"), 0, offset, relative);
    }

    void beginConditional(Buffer *buffer, size_t offset) override {
        begin_conditional(get_caller("beginConditional"), buffer, offset);
    }
    void endConditional() override { end_conditional(get_caller("endConditional")); }
    bool beginQuery(Query *query) override { return begin_query(get_caller("beginQuery"), query); }
    void endQuery(Query *query) override { end_query(get_caller("endQuery"), query); }

    using Base::setSamplers;
    using Base::setStorageBuffers;
    using Base::setStorageTables;
    using Base::setSurfaceTextures;
    using Base::setTexelBuffers;
    using Base::setTextures;
    using Base::setTextureTables;
    using Base::setTracings;
    using Base::setUniformBuffers;
};

} // namespace Kolm
