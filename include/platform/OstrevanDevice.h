// Device of an adapter: factory of GPU objects, and immediate operations on them.

#pragma once

#include <initializer_list>

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>
#include <platform/OstrevanBuffer.h>
#include <platform/OstrevanCompute.h>
#include <platform/OstrevanKernel.h>
#include <platform/OstrevanPlatform.h>
#include <platform/OstrevanShader.h>

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
    bool hasShader(Shader::Type type) const;

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

    /// Recorder of compute work. One recorder at a time; the last handle ends the recording.
    Compute createCompute();

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
    /// Gives the memory back; the handle stays, and can be created anew.
    void releaseBuffer(const Buffer &buffer);

    // frame
    /// Runs what a command device recorded.
    bool execute(const Device &device);
    /// Submits, and goes to the next frame: waits until that one's last work ran, then frees what it released.
    bool flip();
    /// Submits without waiting.
    bool flush();
    /// Submits and waits until all work ran.
    bool finish();
    /// False when the device was lost.
    bool check();
};

} // namespace Ostrevan
