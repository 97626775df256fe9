// Device of an adapter: factory of GPU objects, and immediate operations on them.

#pragma once

#include <initializer_list>

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>
#include <format/OstrevanImage.h>
#include <format/OstrevanSize.h>
#include <format/OstrevanSlice.h>
#include <platform/OstrevanBuffer.h>
#include <platform/OstrevanBufferTable.h>
#include <platform/OstrevanCommand.h>
#include <platform/OstrevanCompute.h>
#include <platform/OstrevanFence.h>
#include <platform/OstrevanKernel.h>
#include <platform/OstrevanPipeline.h>
#include <platform/OstrevanPlatform.h>
#include <platform/OstrevanQuery.h>
#include <platform/OstrevanSampler.h>
#include <platform/OstrevanShader.h>
#include <platform/OstrevanTarget.h>
#include <platform/OstrevanTexture.h>
#include <platform/OstrevanTextureTable.h>
#include <platform/OstrevanTracing.h>
#include <platform/OstrevanTraversal.h>

namespace Ostrevan {

class Context;
class Surface;

/// Device of one adapter. It belongs to the thread that records on it; sub-devices serve other threads. Objects come
/// from the device, and are to be gone before it.
///
/// Factories return an empty handle, operations false, when the reason was logged. Empty handles as arguments, and
/// objects of other platforms, are the caller's mistake. Offsets and sizes are in bytes.
class OSTREVAN_API Device {
    OSTREVAN_HANDLE(Device)
public:
    /// Abilities and limits of an adapter. OstrevanDeviceFeatures.inc lists the members.
    struct Features {
#define OSTREVAN_FEATURE(TYPE, NAME) TYPE NAME = TYPE(0);
#include <platform/OstrevanDeviceFeatures.inc>
    };

    Device();
    /// Device on a context, which the caller keeps alive. Expects a context; one that is not created is refused with
    /// one line, and the handle stays empty.
    explicit Device(const Context &context);
    /// Device on the adapter and queue of a surface.
    explicit Device(const Surface &surface);

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Index of the adapter.
    uint32_t getIndex() const;

    // identity
    String getName() const;
    /// Name of the vendor, or "0x%04x" of its number.
    String getVendor() const;
    /// Version of the driver, or nothing if it has none.
    String getVersion() const;
    const Features &getFeatures() const;

    bool isVendorARM() const;
    bool isVendorAMD() const;
    bool isVendorApple() const;
    bool isVendorIntel() const;
    bool isVendorNvidia() const;
    bool isVendorQualcomm() const;

    // abilities
    bool hasQuery(Query::Type type) const;
    bool hasShader(Shader::Type type) const;
    /// Whether a texture of the format can be drawn to, read, and written by shaders.
    bool hasTarget(Format format) const;
    bool hasTexture(Format format) const;
    bool hasSurface(Format format) const;

    // Sub-devices with a queue and frames of their own: on another adapter, for recording on another thread, for
    // compute and for copies. At least two frames. Empty if the adapter has no such queue.
    Device createDevice(uint32_t index = ~0u, uint32_t frames = 3);
    Device createCommandDevice(uint32_t frames = 3);
    Device createComputeDevice(uint32_t frames = 3);
    Device createCopyDevice(uint32_t frames = 3);

    // buffers
    /// Buffer that is still to be created.
    Buffer createBuffer();
    /// Second buffer on the memory of a Shared or Interop buffer.
    Buffer createBuffer(const Buffer &buffer);
    /// Buffer of undefined content. Expects a size above 0.
    Buffer createBuffer(Buffer::Flags flags, size_t size, Format format = FormatUnknown);
    /// Buffer with the bytes of \p src.
    Buffer createBuffer(Buffer::Flags flags, const void *src, size_t size, Format format = FormatUnknown);

    // textures
    /// Texture that is still to be created.
    Texture createTexture();
    /// Second texture on the memory of a Shared or Interop texture.
    Texture createTexture(const Texture &texture);
    /// Texture of undefined content. Expects sizes above 0, in pixels.
    Texture createTexture(Texture::Type type, Format format, const Size &size, uint32_t layers,
                          Texture::Flags flags = Texture::DefaultFlags);
    Texture createTexture(Texture::Type type, Format format, const Size &size,
                          Texture::Flags flags = Texture::DefaultFlags);
    Texture createTexture2D(Format format, uint32_t size, Texture::Flags flags = Texture::DefaultFlags);
    Texture createTexture2D(Format format, uint32_t width, uint32_t height,
                            Texture::Flags flags = Texture::DefaultFlags);
    Texture createTexture2D(Format format, uint32_t width, uint32_t height, uint32_t layers,
                            Texture::Flags flags = Texture::DefaultFlags);
    Texture createTexture3D(Format format, uint32_t size, Texture::Flags flags = Texture::DefaultFlags);
    Texture createTexture3D(Format format, uint32_t width, uint32_t height, uint32_t depth,
                            Texture::Flags flags = Texture::DefaultFlags);
    Texture createTextureCube(Format format, uint32_t size, Texture::Flags flags = Texture::DefaultFlags);
    Texture createTextureCube(Format format, uint32_t size, uint32_t layers,
                              Texture::Flags flags = Texture::DefaultFlags);
    /// Texture with the pixels of \p image. Mipmaps are taken from the image; with FlagGenerate missing ones are made.
    Texture createTexture(const Image &image, Texture::Flags flags = Texture::DefaultFlags, Async *async = nullptr);
    /// Texture of an image file; \p offset is the first level to take of a native file.
    Texture loadTexture(const char *name, Texture::Flags flags = Texture::DefaultFlags,
                        Image::Flags image_flags = Image::FlagNone, uint32_t offset = 0, Async *async = nullptr);
    Texture loadTexture(Stream &stream, Texture::Flags flags = Texture::DefaultFlags,
                        Image::Flags image_flags = Image::FlagNone, uint32_t offset = 0, Async *async = nullptr);

    /// Sampler to describe and create. The second form takes over the parameters of another.
    Sampler createSampler();
    Sampler createSampler(const Sampler &sampler);
    /// Expects an anisotropy of 1 to 16.
    Sampler createSampler(Sampler::Filter filter, Sampler::WrapMode wrap_mode = Sampler::WrapModeRepeat,
                          uint32_t anisotropy = Sampler::MaxAnisotropy);

    // targets
    Target createTarget();
    /// Target on a surface, which the caller keeps alive.
    Target createTarget(const Surface &surface);
    /// Colour textures go to the slots in their order, a depth texture to its place.
    Target createTarget(const std::initializer_list<Texture> &textures, Target::Operation op = Target::OpDefault);

    // tables
    BufferTable createBufferTable();
    BufferTable createBufferTable(uint32_t size);
    /// Table of the buffers, not yet created if there are none. With \p owner they belong to the table.
    BufferTable createBufferTable(const Array<Buffer> &buffers, bool owner = false);
    TextureTable createTextureTable();
    TextureTable createTextureTable(Texture::Type type, uint32_t size);
    /// The type is that of the first texture.
    TextureTable createTextureTable(const Array<Texture> &textures, bool owner = false);

    // queries and fences
    Query createQuery();
    Query createQuery(Query::Type type);
    Fence createFence();
    Fence createFence(Fence::Flags flags);
    /// Fence on the handle of a Shared fence.
    Fence createFence(const Fence &fence);

    /// Acceleration structure to describe and create. The second form takes over the description of another.
    Tracing createTracing();
    Tracing createTracing(const Tracing &tracing);
    /// Instances in \p buffer.
    Tracing createTracing(uint32_t num_instances, const Buffer &buffer, size_t offset = 0,
                          Tracing::Flags flags = Tracing::DefaultFlags);
    /// Triangles whose buffers follow before the build.
    Tracing createTracing(uint32_t num_vertices, Format vertex_format, size_t vertex_stride, uint32_t num_indices,
                          Format index_format, Tracing::Flags flags = Tracing::DefaultFlags);
    /// Boxes in \p buffer.
    Tracing createTracing(uint32_t num_bounds, size_t stride, const Buffer &buffer, size_t offset = 0,
                          Tracing::Flags flags = Tracing::DefaultFlags);

    // Shaders from a file, a text or SPIR-V words. Macros are "NAME" or "NAME=value" separated by ";", with printf-style
    // arguments. The GLSL forms go through the library's own compiler.
    Shader createShader();
    Shader loadShader(Shader::Type type, const char *name, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    Shader loadShader(Shader::Type type, const char *name, const String &macros);
    Shader loadShaderGLSL(Shader::Type type, const char *name, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    Shader loadShaderGLSL(Shader::Type type, const char *name, const String &macros);
    Shader loadShaderSPIRV(Shader::Type type, const char *name);
    Shader createShader(Shader::Type type, const char *src, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    Shader createShader(Shader::Type type, const char *src, const String &macros);
    Shader createShaderGLSL(Shader::Type type, const char *src, const char *format = nullptr, ...)
        OSTREVAN_PRINTF(4, 5);
    Shader createShaderGLSL(Shader::Type type, const char *src, const String &macros);
    Shader createShaderSPIRV(Shader::Type type, const Array<uint32_t> &words);

    /// Kernel to describe and create. The second form takes over the parameters and the shader of another.
    Kernel createKernel();
    Kernel createKernel(const Kernel &kernel);
    void releaseKernel(const Kernel &kernel);
    /// Pipeline and traversal, likewise.
    Pipeline createPipeline();
    Pipeline createPipeline(const Pipeline &pipeline);
    void releasePipeline(const Pipeline &pipeline);
    Traversal createTraversal();
    Traversal createTraversal(const Traversal &traversal);
    void releaseTraversal(const Traversal &traversal);

    /// Recorder of compute work. One recorder at a time; the last handle ends the recording.
    Compute createCompute();
    /// Recorder of draws into an enabled target; its last handle has to go before Target::end().
    Command createCommand(const Target &target);
    /// Secondary recorder of a command device, whose work execute() runs inside a target of the parent.
    Command createCommand();

    // buffer operations
    /// Bytes may be freed on return. Commands recorded later see them.
    bool setBuffer(const Buffer &buffer, size_t offset, const void *src, size_t size);
    bool setBuffer(const Buffer &buffer, const void *src, size_t size);
    bool setBuffer(const Buffer &buffer, const void *src);
    /// Waits for all recorded work, unless the buffer is a Read buffer: finish() comes first then.
    bool getBuffer(const Buffer &buffer, size_t offset, void *dest, size_t size);
    bool getBuffer(const Buffer &buffer, void *dest, size_t size);
    bool getBuffer(const Buffer &buffer, void *dest);
    /// Memory of a Read or Write buffer until unmapBuffer(), or null.
    void *mapBuffer(const Buffer &buffer, size_t offset, size_t size);
    void *mapBuffer(const Buffer &buffer, size_t size);
    void *mapBuffer(const Buffer &buffer);
    bool unmapBuffer(const Buffer &buffer);
    /// Expects ranges that do not overlap. The short form copies the whole source.
    bool copyBuffer(const Buffer &dest, size_t dest_offset, const Buffer &src, size_t src_offset, size_t size);
    bool copyBuffer(const Buffer &dest, const Buffer &src, size_t size);
    bool copyBuffer(const Buffer &dest, const Buffer &src);
    /// Fills with \p value, one element of \p format, or with zeros if it is null.
    bool clearBuffer(const Buffer &buffer, Format format, size_t offset, const void *value, size_t size);
    bool clearBuffer(const Buffer &buffer, Format format, const void *value, size_t size);
    bool clearBuffer(const Buffer &buffer, Format format, const void *value);
    bool clearBuffer(const Buffer &buffer);
    /// Makes what was written to the buffers visible to their next use as \p flags.
    bool flushBuffer(const Buffer &buffer, Buffer::Flags flags);
    bool flushBuffers(const std::initializer_list<Buffer> &buffers, Buffer::Flags flags);
    bool flushBuffers(const Array<Buffer> &buffers, Buffer::Flags flags);
    /// Gives memory to a range of whole pages of a Sparse buffer, or takes it away.
    bool bindBuffer(const Buffer &buffer, size_t offset, size_t size, bool bind);
    bool bindBuffer(const Buffer &buffer, size_t offset, size_t size, bool bind, const Fence &fence);
    // Release operations give the memory back; the handle stays, and can be created anew.
    void releaseBuffer(const Buffer &buffer);

    // texture operations. Levels, faces and layers of a slice go in pairs; origins and regions are those of the first
    // level and halve with each further one. Without a slice it is all of a texture or image
    /// Pixels may be freed on return. Formats have one memory layout, or are blocks and pixels of one size.
    bool setTexture(const Texture &texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                    const Slice &image_slice);
    bool setTexture(const Texture &texture, const Origin &origin, const Image &image);
    bool setTexture(const Texture &texture, const Image &image);
    /// Waits for all recorded work. The image has to be allocated; of each level it takes the corner that it holds.
    bool getTexture(const Texture &texture, const Slice &slice, Image &image, const Slice &image_slice);
    bool getTexture(const Texture &texture, Image &image, const Slice &image_slice);
    bool getTexture(const Texture &texture, Image &image);
    /// Expects a Source texture, and pixels that do not overlap.
    bool copyTexture(const Texture &dest, const Origin &origin, const Slice &dest_slice, const Texture &src,
                     const Region &region, const Slice &src_slice);
    bool copyTexture(const Texture &dest, const Origin &origin, const Texture &src, const Region &region);
    bool copyTexture(const Texture &dest, const Slice &dest_slice, const Texture &src, const Slice &src_slice);
    bool copyTexture(const Texture &dest, const Texture &src);
    /// Fills with \p value, one pixel of the texture's format, or with zeros if it is null.
    bool clearTexture(const Texture &texture, const Region &region, const Slice &slice, const void *value);
    bool clearTexture(const Texture &texture, const Region &region, const void *value);
    bool clearTexture(const Texture &texture, const Slice &slice, const void *value);
    bool clearTexture(const Texture &texture, const void *value = nullptr);
    /// Gives memory to a region of whole tiles of a Sparse texture, or takes it away.
    bool bindTexture(const Texture &texture, const Region &region, const Slice &slice, bool bind);
    bool bindTexture(const Texture &texture, const Region &region, const Slice &slice, bool bind, const Fence &fence);
    /// Makes the levels behind the first one from the one before each.
    bool createMipmaps(const Texture &texture, const Slice &slice);
    bool createMipmaps(const Texture &texture);
    /// Makes what was written to the textures visible to their next use as \p flags.
    bool flushTexture(const Texture &texture, const Slice &slice, Texture::Flags flags);
    bool flushTexture(const Texture &texture, Texture::Flags flags);
    bool flushTextures(const std::initializer_list<Texture> &textures, Texture::Flags flags);
    bool flushTextures(const Array<Texture> &textures, Texture::Flags flags);
    void releaseTexture(const Texture &texture);
    void releaseSampler(const Sampler &sampler);

    // tables; an empty handle empties a slot. With owner the object belongs to the table from then on
    bool setBufferTable(const BufferTable &table, uint32_t index, const Buffer &buffer, bool owner = false);
    bool setBufferTable(const BufferTable &table, uint32_t index, const Array<Buffer> &buffers, bool owner = false);
    void releaseBufferTable(const BufferTable &table);
    bool setTextureTable(const TextureTable &table, uint32_t index, const Texture &texture, bool owner = false);
    bool setTextureTable(const TextureTable &table, uint32_t index, const Array<Texture> &textures, bool owner = false);
    void releaseTextureTable(const TextureTable &table);

    // acceleration structures
    /// Fills the instance buffer.
    bool setTracing(const Tracing &tracing, const Tracing::Instance *instances, uint32_t num);
    bool setTracing(const Tracing &tracing, const Array<Tracing::Instance> &instances);
    /// Builds with \p scratch memory from \p offset on, which serves one structure after another. With FlagUpdate those
    /// that were built before follow their moved vertices.
    bool buildTracing(const Tracing &tracing, const Buffer &scratch, size_t offset = 0,
                      Tracing::Flags flags = Tracing::FlagNone);
    bool buildTracings(const Array<Tracing> &tracings, const Buffer &scratch, size_t offset = 0,
                       Tracing::Flags flags = Tracing::FlagNone);
    /// Writes the compacted size, 8 bytes, for each structure that was built with FlagCompact.
    bool copyTracing(const Tracing &tracing, const Buffer &buffer, size_t offset = 0);
    bool copyTracings(const Array<Tracing> &tracings, const Buffer &buffer, size_t offset = 0, size_t stride = 8);
    /// Moves a structure that was built with FlagCompact to memory of its compacted size. Waits for its build. What
    /// refers to it as an instance has to be set again.
    bool compactTracing(const Tracing &tracing);
    /// Makes builds visible to rays and to builds of structures that have these as instances.
    bool flushTracing(const Tracing &tracing);
    bool flushTracings(const Array<Tracing> &tracings);
    void releaseTracing(const Tracing &tracing);

    // queries and fences
    bool beginQuery(const Query &query);
    bool endQuery(const Query &query);
    /// Writes the raw values of a result, 8 bytes each, when the work ran; times in ticks of the device. Stride 0 is
    /// that of the longest result.
    bool copyQuery(const Query &query, const Buffer &buffer, size_t offset = 0);
    bool copyQueries(const Array<Query> &queries, const Buffer &buffer, size_t offset = 0, size_t stride = 0);
    /// Lets what is submitted later wait for the fence's last signal. Nothing is waited for here.
    bool waitFence(const Fence &fence);
    /// Signals the fence when what was recorded so far ran. It is submitted by this.
    bool signalFence(const Fence &fence);

    // frame
    /// Runs what a command device recorded.
    bool execute(const Device &device);
    /// Submits, and goes to the next frame: waits until that one's last work ran, then frees what it released.
    bool flip();
    bool flip(const Fence &fence);
    /// Submits without waiting.
    bool flush();
    /// Submits and waits until all work ran.
    bool finish();
    /// False when the device was lost.
    bool check();
};

} // namespace Ostrevan
