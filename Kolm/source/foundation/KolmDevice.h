// KolmDevice.h: the abstract device, factory of all GPU objects and immediate operations on them.
// Rests on the object classes and on shaders. Holds no API call: it checks what callers pass, builds the convenient
// forms out of a smaller set of virtual operations, and leaves translation to a backend.
//
//     KolmDevice.cpp         identity, factories, shaders, frames
//     KolmDeviceBuffer.cpp   operations on buffers and buffer tables
//     KolmDeviceTexture.cpp  operations on textures and texture tables, targets
//     KolmDeviceTracing.cpp  acceleration structures, queries, fences

#pragma once

#include "KolmBuffer.h"
#include "KolmBufferTable.h"
#include "KolmFence.h"
#include "KolmFormat.h"
#include "KolmKernel.h"
#include "KolmPipeline.h"
#include "KolmPlatform.h"
#include "KolmQuery.h"
#include "KolmSampler.h"
#include "KolmShader.h"
#include "KolmString.h"
#include "KolmTarget.h"
#include "KolmTexture.h"
#include "KolmTextureTable.h"
#include "KolmTracing.h"
#include "KolmTraversal.h"

namespace Kolm {

class Command;
class Compute;
class Stream;
struct Caller;

/// Device of one adapter. It belongs to the thread that records on it; sub-devices serve other threads.
///
/// Factories return objects that the caller deletes, or null when the reason was logged. Operations return false when
/// the reason was logged. Null objects, objects that are not created and objects of other platforms are the caller's
/// mistake. What a backend does not give is refused with one line.
class Device : public PlatformBase {
public:
    /// Abilities and limits of an adapter. All zero until the backend filled it.
    struct Features {
#define FEATURE(TYPE, NAME) TYPE NAME = TYPE(0);
#include "KolmDeviceFeatures.inc"
    };
    /// Adapters whose features are cached.
    static constexpr uint32_t NumAdapters = 32;

    explicit Device(uint32_t index);

    // identity
    virtual String getName() const = 0;
    /// Name of the vendor, or "0x%04x" of its number. See getVendorName().
    virtual String getVendor() const = 0;
    /// Version of the driver, or nothing if it has none.
    virtual String getVersion() const = 0;
    virtual const Features &getFeatures() const = 0;

    bool isVendorARM() const { return getFeatures().vendorID == 0x13B5; }
    bool isVendorAMD() const { return getFeatures().vendorID == 0x1002; }
    bool isVendorApple() const { return getFeatures().vendorID == 0x106B; }
    bool isVendorIntel() const { return getFeatures().vendorID == 0x8086; }
    bool isVendorNvidia() const { return getFeatures().vendorID == 0x10DE; }
    bool isVendorQualcomm() const { return getFeatures().vendorID == 0x5143; }
    /// Name of a PCI vendor, or "0x%04x" of the number.
    static String getVendorName(uint32_t vendor_id);

    // abilities
    virtual bool hasQuery(Query::Type type) const;
    virtual bool hasShader(Shader::Type type) const = 0;
    /// Whether a texture of the format can be drawn to, read, and written by shaders.
    virtual bool hasTarget(Format format) const;
    virtual bool hasTexture(Format format) const;
    virtual bool hasSurface(Format format) const;

    // sub-devices, which own their context: another adapter, and recording, compute and copies on other threads.
    // At least two frames. Null if the adapter has no such queue.
    virtual Device *createDevice(uint32_t index, uint32_t frames) = 0;
    virtual Device *createCommandDevice(uint32_t frames) = 0;
    virtual Device *createComputeDevice(uint32_t frames) = 0;
    virtual Device *createCopyDevice(uint32_t frames) = 0;

    // Factories. Those without parameters give an empty object; the others create it, and delete it if that fails.

    virtual Query *createQuery();
    Query *createQuery(Query::Type type);

    virtual Fence *createFence();
    Fence *createFence(Fence *fence);
    Fence *createFence(Fence::Flags flags);

    virtual Buffer *createBuffer() = 0;
    /// Second buffer on the memory of a Shared or Interop buffer.
    Buffer *createBuffer(Buffer *buffer);
    Buffer *createBuffer(Buffer::Flags flags, size_t size, Format format = FormatUnknown);
    /// Copies \p size bytes of \p src into the new buffer. Null \p src leaves it undefined.
    Buffer *createBuffer(Buffer::Flags flags, const void *src, size_t size, Format format = FormatUnknown);

    /// Sampler with the parameters of \p sampler, which may be null; it still has to be created.
    virtual Sampler *createSampler(const Sampler *sampler = nullptr);
    /// Expects an anisotropy of 1 to 16.
    Sampler *createSampler(Sampler::Filter filter, Sampler::WrapMode wrap_mode = Sampler::WrapModeRepeat,
                           uint32_t anisotropy = Sampler::MaxAnisotropy);

    virtual Texture *createTexture();
    /// Second texture on the memory of a Shared or Interop texture.
    Texture *createTexture(Texture *texture);
    Texture *createTexture(Texture::Type type, Format format, const Size &size, uint32_t layers,
                           Texture::Flags flags = Texture::DefaultFlags);
    Texture *createTexture(Texture::Type type, Format format, const Size &size,
                           Texture::Flags flags = Texture::DefaultFlags);
    /// Texture with the pixels of \p image. Mipmaps are taken from the image; with FlagGenerate missing ones are made.
    Texture *createTexture(const Image &image, Texture::Flags flags = Texture::DefaultFlags, Async *async = nullptr);
    Texture *createTexture2D(Format format, uint32_t size, Texture::Flags flags = Texture::DefaultFlags);
    Texture *createTexture2D(Format format, uint32_t width, uint32_t height,
                             Texture::Flags flags = Texture::DefaultFlags);
    Texture *createTexture2D(Format format, uint32_t width, uint32_t height, uint32_t layers,
                             Texture::Flags flags = Texture::DefaultFlags);
    Texture *createTexture3D(Format format, uint32_t size, Texture::Flags flags = Texture::DefaultFlags);
    Texture *createTexture3D(Format format, uint32_t width, uint32_t height, uint32_t depth,
                             Texture::Flags flags = Texture::DefaultFlags);
    Texture *createTextureCube(Format format, uint32_t size, Texture::Flags flags = Texture::DefaultFlags);
    Texture *createTextureCube(Format format, uint32_t size, uint32_t layers,
                               Texture::Flags flags = Texture::DefaultFlags);
    /// Texture of an image file; \p offset is the first level to take of a native file.
    Texture *loadTexture(const char *name, Texture::Flags flags = Texture::DefaultFlags,
                         Image::Flags image_flags = Image::FlagNone, uint32_t offset = 0, Async *async = nullptr);
    Texture *loadTexture(Stream &stream, Texture::Flags flags = Texture::DefaultFlags,
                         Image::Flags image_flags = Image::FlagNone, uint32_t offset = 0, Async *async = nullptr);

    /// Tracing with the description of \p tracing, which may be null; it still has to be created.
    virtual Tracing *createTracing(const Tracing *tracing = nullptr);
    /// Instances in \p buffer.
    Tracing *createTracing(uint32_t num_instances, Buffer *buffer, size_t offset = 0,
                           Tracing::Flags flags = Tracing::DefaultFlags);
    /// Triangles whose buffers follow before the build.
    Tracing *createTracing(uint32_t num_vertices, Format vertex_format, size_t vertex_stride, uint32_t num_indices,
                           Format index_format, Tracing::Flags flags = Tracing::DefaultFlags);
    /// Boxes in \p buffer.
    Tracing *createTracing(uint32_t num_bounds, size_t stride, Buffer *buffer, size_t offset = 0,
                           Tracing::Flags flags = Tracing::DefaultFlags);

    virtual BufferTable *createBufferTable();
    BufferTable *createBufferTable(uint32_t size);
    /// Table of \p num buffers, not yet created if there are none. With \p owner they belong to the table.
    BufferTable *createBufferTable(Buffer **buffers, uint32_t num, bool owner = false);
    virtual TextureTable *createTextureTable();
    TextureTable *createTextureTable(Texture::Type type, uint32_t size);
    /// The type is that of the first texture.
    TextureTable *createTextureTable(Texture **textures, uint32_t num, bool owner = false);

    virtual Target *createTarget();
    virtual Target *createTarget(Surface *surface);
    /// Colour textures go to the slots in their order, a depth texture to its place.
    Target *createTarget(const std::initializer_list<Texture *> &textures, Target::Operation op = Target::OpDefault);

    // shaders and kernels
    virtual Shader *createShader() = 0;
    /// Kernel with the parameters of \p kernel, which may be null; it still has to be created.
    virtual Kernel *createKernel(const Kernel *kernel = nullptr) = 0;
    virtual void releaseKernel(Kernel *kernel) = 0;
    virtual Pipeline *createPipeline(const Pipeline *pipeline = nullptr);
    void releasePipeline(Pipeline *pipeline);
    virtual Traversal *createTraversal(const Traversal *traversal = nullptr);
    void releaseTraversal(Traversal *traversal);

    // recorders. A device records on one at a time; the caller deletes it to end the recording.
    virtual Compute *createCompute() = 0;
    /// Draws into an enabled target, until the recorder is deleted.
    Command *createCommand(Target *target);
    /// Secondary recorder of a command device, whose work execute() runs inside a target of the parent.
    Command *createCommand();

    // buffer operations; offsets and sizes in bytes
    /// Bytes may be freed on return. Commands recorded later see them.
    bool setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size);
    /// Waits for all recorded work, unless the buffer is a Read buffer: finish() comes first then.
    bool getBuffer(Buffer *buffer, size_t offset, void *dest, size_t size);
    /// Memory of a Read or Write buffer until unmapBuffer(), or null.
    void *mapBuffer(Buffer *buffer, size_t offset, size_t size);
    bool unmapBuffer(Buffer *buffer);
    bool copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size);
    /// Fills with \p value, one element of \p format, or with zeros if it is null.
    bool clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size);
    /// Gives memory to ranges of whole pages of a Sparse buffer, or takes it away. \p fence is signalled after it.
    bool bindBuffer(Buffer *buffer, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind,
                    Fence *fence = nullptr);
    bool bindBuffer(Buffer *buffer, size_t offset, size_t size, bool bind, Fence *fence = nullptr);
    /// Makes what was written to the buffers visible to their next use as \p flags.
    bool flushBuffer(Buffer *buffer, Buffer::Flags flags);
    bool flushBuffers(Buffer **buffers, uint32_t num, Buffer::Flags flags);
    // Gives the API's objects back; the abstract object stays and can be created anew.
    void releaseBuffer(Buffer *buffer);
    void releaseSampler(Sampler *sampler);

    // texture operations. Levels, faces and layers of a slice go in pairs; origins and regions are those of the first
    // level and halve with each further one
    /// Image pixels may be freed on return. Formats have one memory layout, or are blocks and pixels of one size.
    bool setTexture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                    const Slice &image_slice);
    /// Waits for all recorded work. The image has to be allocated; of each level it takes the corner that it holds.
    bool getTexture(Texture *texture, const Slice &slice, Image &image, const Slice &image_slice);
    bool copyTexture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src, const Region &region,
                     const Slice &src_slice);
    /// Fills with \p value, one pixel of the texture's format, or with zeros if it is null.
    bool clearTexture(Texture *texture, const Region &region, const Slice &slice, const void *value);
    /// Gives memory to regions of whole tiles of a Sparse texture, or takes it away. The shorter list repeats its last
    /// entry. \p fence is signalled after it.
    bool bindTexture(Texture *texture, const Region *regions, uint32_t num_regions, const Slice *slices,
                     uint32_t num_slices, bool bind, Fence *fence = nullptr);
    /// Makes the slice's levels behind its first one from the one before each.
    bool createMipmaps(Texture *texture, const Slice &slice);
    /// Makes what was written to the textures visible to their next use as \p flags.
    bool flushTexture(Texture *texture, const Slice &slice, Texture::Flags flags);
    bool flushTextures(Texture **textures, uint32_t num, Texture::Flags flags);
    void releaseTexture(Texture *texture);

    // acceleration structures
    /// Fills the instance buffer.
    bool setTracing(Tracing *tracing, const Tracing::Instance *instances, uint32_t num);
    /// Builds with \p scratch memory from \p offset on, which serves one structure after another. With FlagUpdate those
    /// that were built before follow their moved vertices.
    bool buildTracing(Tracing *tracing, Buffer *scratch, size_t offset = 0, Tracing::Flags flags = Tracing::FlagNone);
    bool buildTracings(Tracing **tracings, uint32_t num, Buffer *scratch, size_t offset = 0,
                       Tracing::Flags flags = Tracing::FlagNone);
    /// Writes the compacted size, 8 bytes, for each structure that was built with FlagCompact.
    bool copyTracing(Tracing *tracing, Buffer *buffer, size_t offset = 0);
    bool copyTracings(Tracing **tracings, uint32_t num, Buffer *buffer, size_t offset = 0, size_t stride = 8);
    /// Moves a structure that was built with FlagCompact to memory of its compacted size. Waits for its build. What
    /// refers to it as an instance has to be set again.
    bool compactTracing(Tracing *tracing);
    /// Makes builds visible to rays and to builds of structures that have these as instances.
    bool flushTracing(Tracing *tracing);
    bool flushTracings(Tracing **tracings, uint32_t num);
    void releaseTracing(Tracing *tracing);

    // tables; null empties a slot. With owner the object belongs to the table from then on
    bool setBufferTable(BufferTable *table, uint32_t index, Buffer *buffer, bool owner = false);
    bool setBufferTable(BufferTable *table, uint32_t index, Buffer **buffers, uint32_t num, bool owner = false);
    void releaseBufferTable(BufferTable *table);
    bool setTextureTable(TextureTable *table, uint32_t index, Texture *texture, bool owner = false);
    bool setTextureTable(TextureTable *table, uint32_t index, Texture **textures, uint32_t num, bool owner = false);
    void releaseTextureTable(TextureTable *table);

    // queries and fences
    bool beginQuery(Query *query);
    bool endQuery(Query *query);
    /// Writes the raw values of a result, 8 bytes each, when the work ran; times in ticks of the device.
    bool copyQuery(Query *query, Buffer *buffer, size_t offset = 0);
    bool copyQueries(Query **queries, uint32_t num, Buffer *buffer, size_t offset = 0, size_t stride = 0);
    /// Lets what is submitted later wait for the fence's last signal. Nothing is waited for here.
    bool waitFence(Fence *fence);
    /// Signals the fence when what was recorded so far ran. It is submitted by this.
    bool signalFence(Fence *fence);

    // frame
    /// Runs what the command device recorded.
    virtual bool execute(Device *device) = 0;
    /// Submits, and goes to the next frame: waits until that one's last work ran, then frees what it released. Signals
    /// \p fence if it is given.
    bool flip(Fence *fence = nullptr);
    /// Submits without waiting.
    virtual bool flush() = 0;
    /// Submits and waits until all work ran.
    virtual bool finish() = 0;
    /// False when the device was lost.
    virtual bool check() = 0;

    // short forms: offset 0 and the whole buffer; a copy takes the size of its source
    bool setBuffer(Buffer *buffer, const void *src, size_t size);
    bool setBuffer(Buffer *buffer, const void *src);
    bool getBuffer(Buffer *buffer, void *dest, size_t size);
    bool getBuffer(Buffer *buffer, void *dest);
    void *mapBuffer(Buffer *buffer, size_t size);
    void *mapBuffer(Buffer *buffer);
    bool copyBuffer(Buffer *dest, Buffer *src, size_t size);
    bool copyBuffer(Buffer *dest, Buffer *src);
    bool clearBuffer(Buffer *buffer, Format format, const void *value, size_t size);
    bool clearBuffer(Buffer *buffer, Format format, const void *value);
    bool clearBuffer(Buffer *buffer);
    bool flushBuffers(const std::initializer_list<Buffer *> &buffers, Buffer::Flags flags);

    // short forms: all faces, layers and levels, and the whole size of the first level
    bool setTexture(Texture *texture, const Origin &origin, const Image &image);
    bool setTexture(Texture *texture, const Image &image);
    bool getTexture(Texture *texture, Image &image, const Slice &image_slice);
    bool getTexture(Texture *texture, Image &image);
    bool copyTexture(Texture *dest, const Origin &origin, Texture *src, const Region &region);
    bool copyTexture(Texture *dest, const Slice &dest_slice, Texture *src, const Slice &src_slice);
    bool copyTexture(Texture *dest, Texture *src);
    bool clearTexture(Texture *texture, const Region &region, const void *value);
    bool clearTexture(Texture *texture, const Slice &slice, const void *value);
    bool clearTexture(Texture *texture, const void *value = nullptr);
    bool bindTexture(Texture *texture, const Region &region, const Slice &slice, bool bind, Fence *fence = nullptr);
    bool bindTexture(Texture *texture, const Region &region, bool bind, Fence *fence = nullptr);
    bool bindTexture(Texture *texture, const Slice &slice, bool bind, Fence *fence = nullptr);
    bool createMipmaps(Texture *texture);
    bool flushTexture(Texture *texture, Texture::Flags flags);
    bool flushTextures(const std::initializer_list<Texture *> &textures, Texture::Flags flags);

    // lists
    bool buildTracings(const std::initializer_list<Tracing *> &tracings, Buffer *scratch, size_t offset = 0,
                       Tracing::Flags flags = Tracing::FlagNone);
    bool copyTracings(const std::initializer_list<Tracing *> &tracings, Buffer *buffer, size_t offset = 0,
                      size_t stride = 8);
    bool flushTracings(const std::initializer_list<Tracing *> &tracings);
    bool setBufferTable(BufferTable *table, uint32_t index, const std::initializer_list<Buffer *> &buffers,
                        bool owner = false);
    bool setTextureTable(TextureTable *table, uint32_t index, const std::initializer_list<Texture *> &textures,
                         bool owner = false);
    bool copyQueries(const std::initializer_list<Query *> &queries, Buffer *buffer, size_t offset = 0,
                     size_t stride = 0);

    // shaders from files, text and words: the operation of that name on a new shader
    Shader *loadShader(Shader::Type type, const char *name, const char *format = nullptr, ...) KOLM_PRINTF(4, 5);
    Shader *loadShader(Shader::Type type, const char *name, const String &macros, const char **includes = nullptr,
                       uint32_t size = 0);
    Shader *loadShaderGLSL(Shader::Type type, const char *name, const char *format = nullptr, ...) KOLM_PRINTF(4, 5);
    Shader *loadShaderGLSL(Shader::Type type, const char *name, const String &macros, const char **includes = nullptr,
                           uint32_t size = 0);
    Shader *loadShaderSPIRV(Shader::Type type, const char *name);
    Shader *createShader(Shader::Type type, const char *src, const char *format = nullptr, ...) KOLM_PRINTF(4, 5);
    Shader *createShader(Shader::Type type, const char *src, const String &macros, const char **includes = nullptr,
                         uint32_t size = 0);
    Shader *createShaderGLSL(Shader::Type type, const char *src, const char *format = nullptr, ...) KOLM_PRINTF(4, 5);
    Shader *createShaderGLSL(Shader::Type type, const char *src, const String &macros, const char **includes = nullptr,
                             uint32_t size = 0);
    Shader *createShaderSPIRV(Shader::Type type, const Array<uint32_t> &data);

protected:
    /// Cached features of an adapter, for backends. They fill it once and write `initialized` last; two threads that
    /// do so at the same time write the same values.
    static Features &get_features(uint32_t adapter_index);

    // What a backend gives. Objects are created and of its platform, arguments were tested, sizes and lists are not
    // empty. The defaults refuse with one line.
    virtual bool set_buffer(Buffer *buffer, size_t offset, const void *src, size_t size) = 0;
    virtual bool get_buffer(Buffer *buffer, size_t offset, void *dest, size_t size) = 0;
    virtual void *map_buffer(Buffer *buffer, size_t offset, size_t size) = 0;
    virtual bool unmap_buffer(Buffer *buffer) = 0;
    virtual bool copy_buffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) = 0;
    virtual bool clear_buffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) = 0;
    virtual bool bind_buffer(Buffer *buffer, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind,
                             Fence *fence);
    virtual bool flush_buffers(Buffer **buffers, uint32_t num, Buffer::Flags flags) = 0;
    /// Release operations take objects that may be not created.
    virtual void release_buffer(Buffer *buffer) = 0;
    virtual void release_sampler(Sampler *sampler);

    virtual bool set_texture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                             const Slice &image_slice);
    virtual bool get_texture(Texture *texture, const Slice &slice, Image &image, const Slice &image_slice);
    virtual bool copy_texture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src,
                              const Region &region, const Slice &src_slice);
    virtual bool clear_texture(Texture *texture, const Region &region, const Slice &slice, const void *value);
    virtual bool bind_texture(Texture *texture, const Region *regions, uint32_t num_regions, const Slice *slices,
                              uint32_t num_slices, bool bind, Fence *fence);
    virtual bool create_mipmaps(Texture *texture, const Slice &slice);
    virtual bool flush_texture(Texture *texture, const Slice &slice, Texture::Flags flags);
    virtual bool flush_textures(Texture **textures, uint32_t num, Texture::Flags flags);
    virtual void release_texture(Texture *texture);

    virtual bool set_tracing(Tracing *tracing, const Tracing::Instance *instances, uint32_t num);
    /// Tracing i has its scratch memory at offsets[i]; it is updated if FlagUpdate is set and it isBuilt().
    virtual bool build_tracings(Tracing **tracings, uint32_t num, Buffer *scratch, const size_t *offsets,
                                Tracing::Flags flags);
    virtual bool copy_tracings(Tracing **tracings, uint32_t num, Buffer *buffer, size_t offset, size_t stride);
    virtual bool compact_tracing(Tracing *tracing);
    virtual bool flush_tracings(Tracing **tracings, uint32_t num);
    virtual void release_tracing(Tracing *tracing);

    /// The slots hold the objects already.
    virtual bool set_buffer_table(BufferTable *table, uint32_t index, Buffer **buffers, uint32_t num);
    virtual void release_buffer_table(BufferTable *table);
    virtual bool set_texture_table(TextureTable *table, uint32_t index, Texture **textures, uint32_t num);
    virtual void release_texture_table(TextureTable *table);

    virtual void release_pipeline(Pipeline *pipeline);
    virtual void release_traversal(Traversal *traversal);
    /// The target is enabled, or null for a secondary recorder.
    virtual Command *create_command(Target *target);

    virtual bool begin_query(Query *query);
    virtual bool end_query(Query *query);
    virtual bool copy_queries(Query **queries, uint32_t num, Buffer *buffer, size_t offset, size_t stride);
    /// Fences have a value above 0: the signal to wait for, or to give.
    virtual bool wait_fence(Fence *fence);
    virtual bool signal_fence(Fence *fence);
    virtual bool flip_frame(Fence *fence) = 0;

    /// Target of this device that is enabled now, or null: nothing but drawing can be recorded then.
    virtual const Target *get_enabled_target() const { return nullptr; }
    /// Expects that no target is enabled.
    void check_transfer(const Caller &caller) const;

    /// Object that keeps its parameters if \p created, else deletes it and gives null: the end of every factory.
    template<class Type> static Type *get_created(Type *object, bool created) {
        if(created) return object;
        delete object;
        return nullptr;
    }

private:
    bool refuse(const char *method, const char *kind) const;
    void check_fence(const Caller &caller, const Fence *fence) const;
};

} // namespace Kolm
