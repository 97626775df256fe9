// A backend without an API: its objects keep real memory, and every call that would reach a driver is one line of text.
// It stands for Vulkan unless told otherwise, so that messages carry the prefix of the real backend.

#pragma once

#include "KolmCommandRecorder.h"
#include "KolmComputeRecorder.h"
#include "KolmDevice.h"
#include "KolmLog.h"
#include "KolmOffscreen.h"
#include "KolmSurface.h"
#include "StubResources.h"

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

template<class Base> class StubDrawable : public StubObject<Base> {
public:
    StubDrawable(Kolm::Platform platform, const Base *base) : StubObject<Base>(platform, 0u, base) {}

    void clear() override {
        created = false;
        Base::clear();
    }
    bool isCreated() const override { return created; }
    bool create() override { return created = true; }

    bool created = false;

protected:
    Kolm::Shader *create_shader(Base *) override { return new StubShader(this->platform); }
};
using StubPipeline = StubDrawable<Kolm::Pipeline>;
using StubTraversal = StubDrawable<Kolm::Traversal>;

/// Transient memory and slots of both recorders.
template<class Base> class StubRecorder : public StubObject<Base> {
public:
    template<class... Args>
    StubRecorder(Kolm::Platform platform, StubCalls &calls, Args &&...args)
        : StubObject<Base>(platform, args...), calls(calls) {
        calls.add("begin");
    }
    ~StubRecorder() override { calls.add("end"); }

    using Base::clear_memory;
    using Base::UpdateAll;
    using Base::UpdateCommand;
    using Base::UpdateIndex;
    using Base::UpdateSampler;
    using Base::UpdateScissor;
    using Base::UpdateStorage;
    using Base::UpdateStorageOffset;
    using Base::UpdateSurface;
    using Base::UpdateTexture;
    using Base::UpdateUniform;
    using Base::UpdateUniformOffset;
    using Base::UpdateVertex;
    using Base::UpdateViewport;
    using typename Base::Slot;
    const Slot &getUniform(uint32_t index) const { return this->uniforms[index]; }
    const Slot &getStorage(uint32_t index) const { return this->storages[index]; }
    const Slot &getIndirect() const { return this->indirect; }
    uint32_t getUpdateMask() const { return this->update_mask; }

    StubCalls &calls;
    std::vector<uint8_t> ring = std::vector<uint8_t>(65536); // transient memory
    size_t ring_offset = 0;

protected:
    bool allocate_memory(typename Base::Transient, size_t size, typename Base::Memory &memory) override {
        if(size > ring.size() - ring_offset) return false;
        memory.data = ring.data() + ring_offset;
        memory.handle = 1;
        memory.offset = ring_offset;
        ring_offset = (ring_offset + size + 255) / 256 * 256;
        return true;
    }
    void record_begin_conditional(Kolm::Buffer *, size_t offset) override { calls.add("beginConditional %zu", offset); }
    void record_end_conditional() override { calls.add("endConditional"); }
    bool record_begin_query(Kolm::Query *query) override {
        calls.add("beginQuery %s", query->getTypeName());
        return true;
    }
    bool record_end_query(Kolm::Query *query) override {
        calls.add("endQuery %s", query->getTypeName());
        return true;
    }
};

class StubCompute : public StubRecorder<Kolm::ComputeRecorder> {
public:
    StubCompute(Kolm::Platform platform, const Kolm::Device::Features &features, StubCalls &calls)
        : StubRecorder(platform, calls, 0u, features) {}

protected:
    void bind_kernel(Kolm::Kernel *kernel) override { calls.add("bind %s", kernel ? kernel->getName().get() : "null"); }
    void bind_traversal(Kolm::Traversal *traversal) override {
        calls.add("bind %s", traversal ? traversal->getName().get() : "null");
    }
    bool record_dispatch(uint32_t width, uint32_t height, uint32_t depth) override {
        calls.add("dispatch %u %u %u", width, height, depth);
        return true;
    }
    bool record_trace(uint32_t width, uint32_t height, uint32_t depth) override {
        calls.add("trace %u %u %u", width, height, depth);
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
    bool record_set_texture(Kolm::Texture *, const Kolm::Origin &origin, const Kolm::Slice &dest_slice,
                            const Kolm::Image &, const Kolm::Slice &image_slice) override {
        calls.add("setTexture %u,%u,%u %s from %s", origin.x, origin.y, origin.z, getText(dest_slice).c_str(),
                  getText(image_slice).c_str());
        return true;
    }
    bool record_copy_texture(Kolm::Texture *, const Kolm::Origin &origin, const Kolm::Slice &dest_slice,
                             Kolm::Texture *, const Kolm::Region &region, const Kolm::Slice &src_slice) override {
        calls.add("copyTexture %u,%u,%u %s from %s %s", origin.x, origin.y, origin.z, getText(dest_slice).c_str(),
                  getText(region).c_str(), getText(src_slice).c_str());
        return true;
    }
    bool record_clear_texture(Kolm::Texture *, const Kolm::Region &region, const Kolm::Slice &slice,
                              const void *) override {
        calls.add("clearTexture %s %s", getText(region).c_str(), getText(slice).c_str());
        return true;
    }
    void record_barrier(Kolm::Buffer **, uint32_t num) override { calls.add("barrier %u", num); }
    void record_texture_barrier(Kolm::Texture **, uint32_t num) override { calls.add("barrierTexture %u", num); }
};

class StubCommand : public StubRecorder<Kolm::CommandRecorder> {
public:
    StubCommand(Kolm::Platform platform, const Kolm::Device::Features &features, const Kolm::Target *target,
                StubCalls &calls)
        : StubRecorder(platform, calls, 0u, features, target) {}

    const Slot &getVertex(uint32_t i) const { return vertices[i]; }
    const Slot &getIndex() const { return index; }
    const Kolm::Viewport &getViewport(uint32_t i) const { return viewports[i]; }
    const Kolm::Scissor &getScissor(uint32_t i) const { return scissors[i]; }
    uint32_t getNumViewports() const { return num_viewports; }
    uint32_t getNumScissors() const { return num_scissors; }

protected:
    void bind_pipeline(Kolm::Pipeline *pipeline) override {
        calls.add("bind %s", pipeline ? pipeline->getName().get() : "null");
    }
    bool record_draw_arrays(uint32_t num, uint32_t base, uint32_t instances, uint32_t base_instance) override {
        calls.add("drawArrays %u %u %u %u", num, base, instances, base_instance);
        return true;
    }
    bool record_draw_elements(uint32_t num, uint32_t base_index, int32_t base, uint32_t instances,
                              uint32_t base_instance) override {
        calls.add("drawElements %u %u %d %u %u", num, base_index, base, instances, base_instance);
        return true;
    }
    bool record_draw_mesh(uint32_t width, uint32_t height, uint32_t depth) override {
        calls.add("drawMesh %u %u %u", width, height, depth);
        return true;
    }
    bool record_draw_indirect(DrawType type, const Slot &source, uint32_t num, size_t stride) override {
        calls.add("drawIndirect %d %zu %u %zu", int(type), source.offset, num, stride);
        return true;
    }
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
    Kolm::Buffer *createBuffer() override { return make<StubBuffer>(platform, calls); }
    using Device::createShader;
    Kolm::Shader *createShader() override { return make<StubShader>(platform); }
    Kolm::Kernel *createKernel(const Kolm::Kernel *kernel) override { return new StubKernel(platform, kernel); }
    void releaseKernel(Kolm::Kernel *kernel) override { cast<StubKernel>(kernel)->created = false; }
    Kolm::Pipeline *createPipeline(const Kolm::Pipeline *pipeline = nullptr) override {
        return make<StubPipeline>(platform, pipeline);
    }
    Kolm::Traversal *createTraversal(const Kolm::Traversal *traversal = nullptr) override {
        return make<StubTraversal>(platform, traversal);
    }
    Kolm::Compute *createCompute() override { return new StubCompute(platform, features, calls); }

    using Device::createQuery;
    Kolm::Query *createQuery() override { return make<StubQuery>(platform); }
    using Device::createFence;
    Kolm::Fence *createFence() override { return make<StubFence>(platform); }
    using Device::createSampler;
    Kolm::Sampler *createSampler(const Kolm::Sampler *sampler = nullptr) override {
        return make<StubSampler>(platform, sampler, calls);
    }
    using Device::createTexture;
    Kolm::Texture *createTexture() override { return make<StubTexture>(platform, calls); }
    using Device::createTracing;
    Kolm::Tracing *createTracing(const Kolm::Tracing *tracing = nullptr) override {
        return make<StubTracing>(platform, tracing);
    }
    using Device::createBufferTable;
    Kolm::BufferTable *createBufferTable() override { return make<StubBufferTable>(platform); }
    using Device::createTextureTable;
    Kolm::TextureTable *createTextureTable() override { return make<StubTextureTable>(platform); }
    using Device::createTarget;
    Kolm::Target *createTarget() override { return make<StubTarget>(platform, nullptr, enabled_target, calls); }
    Kolm::Target *createTarget(Kolm::Surface *surface) override {
        return make<StubTarget>(platform, surface, enabled_target, calls);
    }

    bool execute(Device *) override { return frame("execute"); }
    bool flush() override { return frame("flush"); }
    bool finish() override { return frame("finish"); }
    bool check() override { return true; }

    StubCalls calls;
    Features features;
    bool no_objects = false; // factories fail
    bool no_support = false; // operations on textures, tables, tracings, queries and fences fail
    const Kolm::Target *enabled_target = nullptr;

protected:
    bool set_buffer(Kolm::Buffer *buffer, size_t offset, const void *src, size_t size) override {
        return cast<StubBuffer>(buffer)->set(offset, src, size);
    }
    bool get_buffer(Kolm::Buffer *buffer, size_t offset, void *dest, size_t size) override {
        return cast<StubBuffer>(buffer)->get(offset, dest, size);
    }
    void *map_buffer(Kolm::Buffer *buffer, size_t offset, size_t size) override {
        return cast<StubBuffer>(buffer)->map(offset, size);
    }
    bool unmap_buffer(Kolm::Buffer *buffer) override { return cast<StubBuffer>(buffer)->unmap(); }
    bool copy_buffer(Kolm::Buffer *dest, size_t dest_offset, Kolm::Buffer *src, size_t src_offset,
                     size_t size) override {
        return cast<StubBuffer>(dest)->copy(dest_offset, src, src_offset, size);
    }
    bool clear_buffer(Kolm::Buffer *buffer, Kolm::Format format, size_t offset, const void *value,
                      size_t size) override {
        return cast<StubBuffer>(buffer)->fill(format, offset, value, size);
    }
    bool bind_buffer(Kolm::Buffer *buffer, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind,
                     Kolm::Fence *) override {
        return cast<StubBuffer>(buffer)->bind(offsets, sizes, num, bind);
    }
    bool flush_buffers(Kolm::Buffer **, uint32_t num, Kolm::Buffer::Flags flags) override {
        return call("flushBuffers %u 0x%x", num, uint32_t(flags));
    }
    void release_buffer(Kolm::Buffer *buffer) override { cast<StubBuffer>(buffer)->memory.clear(); }
    void release_sampler(Kolm::Sampler *sampler) override { cast<StubSampler>(sampler)->created = false; }

    bool set_texture(Kolm::Texture *texture, const Kolm::Origin &origin, const Kolm::Slice &dest_slice,
                     const Kolm::Image &image, const Kolm::Slice &image_slice) override {
        call("setTexture %u,%u,%u %s from %s", origin.x, origin.y, origin.z, getText(dest_slice).c_str(),
             getText(image_slice).c_str());
        if(no_support) return false;
        // The same bytes under the texture's format.
        Kolm::Image pixels(image.getType(), texture->getFormat(), image.getSize(), image.getLayers(),
                           image.hasMipmaps() ? Kolm::Image::FlagMipmaps : Kolm::Image::FlagNone);
        if(pixels.getDataSize() != image.getDataSize()) return false;
        memcpy(pixels.getData(), image.getData(), image.getDataSize());
        return cast<StubTexture>(texture)->memory.copy(pixels, origin, image.getRegion(image_slice.mipmap),
                                                       dest_slice.setSize(image_slice), image_slice);
    }
    bool get_texture(Kolm::Texture *texture, const Kolm::Slice &slice, Kolm::Image &image,
                     const Kolm::Slice &image_slice) override {
        call("getTexture %s to %s", getText(slice).c_str(), getText(image_slice).c_str());
        if(no_support) return false;
        return image.copy(cast<StubTexture>(texture)->memory, Kolm::Origin(), image.getRegion(image_slice.mipmap),
                          image_slice, slice.setSize(image_slice));
    }
    bool copy_texture(Kolm::Texture *, const Kolm::Origin &origin, const Kolm::Slice &dest_slice, Kolm::Texture *,
                      const Kolm::Region &region, const Kolm::Slice &src_slice) override {
        return call("copyTexture %u,%u,%u %s from %s %s", origin.x, origin.y, origin.z, getText(dest_slice).c_str(),
                    getText(region).c_str(), getText(src_slice).c_str());
    }
    bool clear_texture(Kolm::Texture *, const Kolm::Region &region, const Kolm::Slice &slice, const void *) override {
        return call("clearTexture %s %s", getText(region).c_str(), getText(slice).c_str());
    }
    bool bind_texture(Kolm::Texture *, const Kolm::Region *regions, uint32_t num_regions, const Kolm::Slice *slices,
                      uint32_t num_slices, bool bind, Kolm::Fence *) override {
        return call("bindTexture %u %s %u %s %d", num_regions, getText(*regions).c_str(), num_slices,
                    getText(*slices).c_str(), bind);
    }
    bool create_mipmaps(Kolm::Texture *, const Kolm::Slice &slice) override {
        return call("createMipmaps %s", getText(slice).c_str());
    }
    bool flush_texture(Kolm::Texture *, const Kolm::Slice &slice, Kolm::Texture::Flags flags) override {
        return call("flushTexture %s 0x%x", getText(slice).c_str(), uint32_t(flags));
    }
    bool flush_textures(Kolm::Texture **, uint32_t num, Kolm::Texture::Flags flags) override {
        return call("flushTextures %u 0x%x", num, uint32_t(flags));
    }
    void release_texture(Kolm::Texture *texture) override { cast<StubTexture>(texture)->clear(); }

    bool set_tracing(Kolm::Tracing *, const Kolm::Tracing::Instance *, uint32_t num) override {
        return call("setTracing %u", num);
    }
    bool build_tracings(Kolm::Tracing **tracings, uint32_t num, Kolm::Buffer *, const size_t *offsets,
                        Kolm::Tracing::Flags flags) override {
        for(uint32_t i = 0; i < num; i++) {
            const bool update = tracings[i]->isBuilt() && (flags & Kolm::Tracing::FlagUpdate);
            if(!call("%sTracing %s %zu", update ? "update" : "build", tracings[i]->getDescription().get(), offsets[i]))
                return false;
        }
        return true;
    }
    bool copy_tracings(Kolm::Tracing **, uint32_t num, Kolm::Buffer *, size_t offset, size_t stride) override {
        return call("copyTracings %u %zu %zu", num, offset, stride);
    }
    bool compact_tracing(Kolm::Tracing *) override { return call("compactTracing"); }
    bool flush_tracings(Kolm::Tracing **, uint32_t num) override { return call("flushTracings %u", num); }
    void release_tracing(Kolm::Tracing *tracing) override { cast<StubTracing>(tracing)->created = false; }

    bool set_buffer_table(Kolm::BufferTable *, uint32_t index, Kolm::Buffer **, uint32_t num) override {
        return call("setBufferTable %u %u", index, num);
    }
    void release_buffer_table(Kolm::BufferTable *table) override { cast<StubBufferTable>(table)->created = false; }
    bool set_texture_table(Kolm::TextureTable *, uint32_t index, Kolm::Texture **, uint32_t num) override {
        return call("setTextureTable %u %u", index, num);
    }
    void release_texture_table(Kolm::TextureTable *table) override { cast<StubTextureTable>(table)->created = false; }

    void release_pipeline(Kolm::Pipeline *pipeline) override { cast<StubPipeline>(pipeline)->created = false; }
    void release_traversal(Kolm::Traversal *traversal) override { cast<StubTraversal>(traversal)->created = false; }
    Kolm::Command *create_command(Kolm::Target *target) override {
        return make<StubCommand>(platform, features, target, calls);
    }

    bool begin_query(Kolm::Query *query) override { return call("beginQuery %s", query->getTypeName()); }
    bool end_query(Kolm::Query *query) override { return call("endQuery %s", query->getTypeName()); }
    bool copy_queries(Kolm::Query **, uint32_t num, Kolm::Buffer *, size_t offset, size_t stride) override {
        return call("copyQueries %u %zu %zu", num, offset, stride);
    }
    bool wait_fence(Kolm::Fence *fence) override { return call("waitFence %u", uint32_t(fence->getValue())); }
    bool signal_fence(Kolm::Fence *fence) override { return call("signalFence %u", uint32_t(fence->getValue())); }
    bool flip_frame(Kolm::Fence *fence) override { return call(fence ? "flip fence" : "flip"); }

    const Kolm::Target *get_enabled_target() const override { return enabled_target; }

private:
    bool frame(const char *name) {
        calls.add("%s", name);
        return true;
    }
    template<class... Args> bool call(const char *format, Args... args) {
        if constexpr(sizeof...(args) == 0)
            calls.add("%s", format);
        else
            calls.add(format, args...);
        return !no_support;
    }
    template<class Type, class... Args> Type *make(Args &&...args) {
        return (no_objects) ? nullptr : new Type(std::forward<Args>(args)...);
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
