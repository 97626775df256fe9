// KolmDevice.h: the abstract device, factory of all GPU objects and immediate operations on them.
// Rests on the object classes and on shaders. Holds no API call: it checks what callers pass, builds the convenient
// forms out of a smaller set of virtual operations, and leaves translation to a backend.

#pragma once

#include "KolmBuffer.h"
#include "KolmFormat.h"
#include "KolmKernel.h"
#include "KolmPlatform.h"
#include "KolmShader.h"
#include "KolmString.h"

namespace Kolm {

class Compute;
class Fence;

/// Device of one adapter. It belongs to the thread that records on it; sub-devices serve other threads.
///
/// Factories return objects that the caller deletes, or null when the reason was logged. Operations return false when
/// the reason was logged. Null objects and objects of other platforms are the caller's mistake.
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
    virtual bool hasShader(Shader::Type type) const = 0;

    // sub-devices, which own their context: another adapter, and recording, compute and copies on other threads.
    // At least two frames. Null if the adapter has no such queue.
    virtual Device *createDevice(uint32_t index, uint32_t frames) = 0;
    virtual Device *createCommandDevice(uint32_t frames) = 0;
    virtual Device *createComputeDevice(uint32_t frames) = 0;
    virtual Device *createCopyDevice(uint32_t frames) = 0;

    // buffers
    virtual Buffer *createBuffer() = 0;
    /// Second buffer on the memory of a Shared or Interop buffer.
    virtual Buffer *createBuffer(Buffer *buffer);
    virtual Buffer *createBuffer(Buffer::Flags flags, size_t size, Format format = FormatUnknown);
    /// Copies \p size bytes of \p src into the new buffer. Null \p src leaves it undefined.
    virtual Buffer *createBuffer(Buffer::Flags flags, const void *src, size_t size, Format format = FormatUnknown);

    // shaders and kernels
    virtual Shader *createShader() = 0;
    /// Kernel with the parameters of \p kernel, which may be null; it still has to be created.
    virtual Kernel *createKernel(const Kernel *kernel = nullptr) = 0;
    virtual void releaseKernel(Kernel *kernel) = 0;

    // recorders. A device records on one at a time; the caller deletes it to end the recording.
    virtual Compute *createCompute() = 0;

    // buffer operations; offsets and sizes in bytes
    /// Bytes may be freed on return. Commands recorded later see them.
    virtual bool setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size) = 0;
    /// Waits for all recorded work, unless the buffer is a Read buffer: finish() comes first then.
    virtual bool getBuffer(Buffer *buffer, size_t offset, void *dest, size_t size) = 0;
    /// Memory of a Read or Write buffer until unmapBuffer(), or null.
    virtual void *mapBuffer(Buffer *buffer, size_t offset, size_t size) = 0;
    virtual bool unmapBuffer(Buffer *buffer) = 0;
    virtual bool copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) = 0;
    /// Fills with \p value, one element of \p format, or with zeros if it is null.
    virtual bool clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) = 0;
    /// Makes what was written to the buffers visible to their next use as \p flags.
    virtual bool flushBuffer(Buffer *buffer, Buffer::Flags flags) = 0;
    virtual bool flushBuffers(Buffer **buffers, uint32_t num, Buffer::Flags flags) = 0;
    virtual void releaseBuffer(Buffer *buffer) = 0;

    // frame
    /// Runs what the command device recorded.
    virtual bool execute(Device *device) = 0;
    /// Submits, and goes to the next frame: waits until that one's last work ran, then frees what it released.
    virtual bool flip(Fence *fence = nullptr) = 0;
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

    /// Object that keeps its parameters if \p created, else deletes it and gives null: the end of every factory.
    template<class Type> static Type *get_created(Type *object, bool created) {
        if(created) return object;
        delete object;
        return nullptr;
    }
};

} // namespace Kolm
