// Linear memory of a device.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Linear memory of a device, made by Device::createBuffer(). Not to be changed from two threads at once. Its contents
/// are read and written through Device and Compute.
class OSTREVAN_API Buffer {
    OSTREVAN_HANDLE(Buffer)
public:
    enum Flags : uint32_t {
        FlagNone = 0,
        FlagRead = 1 << 0,   ///< the host reads it: read-back
        FlagWrite = 1 << 1,  ///< the host writes it: upload
        FlagSource = 1 << 2, ///< source of copies and of Device::getBuffer
        FlagSparse = 1 << 3, ///< memory is bound page by page
        FlagShared = 1 << 4, ///< host memory that other adapters import
        FlagMapped = 1 << 5,
        FlagExtern = 1 << 6,
        FlagInterop = 1 << 7, ///< memory with a handle for other APIs
        FlagDynamic = 1 << 8,
        FlagUniform = 1 << 9,
        FlagStorage = 1 << 10,
        FlagAddress = 1 << 11,     ///< has an address in shaders
        FlagTracing = 1 << 12,     ///< geometry of acceleration structures
        FlagScratch = 1 << 13,     ///< scratch memory of builds
        FlagBinding = 1 << 14,     ///< shader binding table
        FlagIndirect = 1 << 15,    ///< source of indirect calls
        FlagConditional = 1 << 16, ///< source of conditions
        FlagVertex = 1 << 17,
        FlagIndex = 1 << 18,
        FlagTexel = 1 << 19, ///< formatted elements
        FlagAccel = 1 << 20, ///< storage of acceleration structures
        DefaultFlags = FlagNone,
        NumFlags = 21
    };

    Buffer();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the buffer belongs to.
    uint32_t getIndex() const;

    /// Gives the memory back and forgets name, flags, format and size.
    void clear();
    bool isCreated() const;
    /// Expects a buffer that is not created, from Device::createBuffer(), and a size above 0, in bytes.
    /// False if the reason was logged.
    bool create(Flags flags, size_t size, Format format = FormatUnknown);
    /// Second buffer on the memory of a Shared or Interop buffer.
    bool create(const Buffer &buffer);

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;

    Flags getFlags() const;
    /// Whether all of the flags are set, and whether one of them is.
    bool hasFlags(Flags flags) const;
    bool hasFlag(Flags flags) const;
    /// Words of the flags, each with a blank behind it, or "None".
    String getFlagsName() const;
    /// Size, flags and format.
    String getDescription() const;
    Format getFormat() const;
    /// Bytes.
    size_t getSize() const;
    /// Bytes of a page of a sparse buffer, 0 for others.
    uint32_t getPageSize() const;
    /// Bytes of device memory.
    size_t getMemory() const;
    bool isMapped() const;
};

inline Buffer::Flags operator|(Buffer::Flags a, Buffer::Flags b) { return Buffer::Flags(uint32_t(a) | uint32_t(b)); }
inline Buffer::Flags operator&(Buffer::Flags a, Buffer::Flags b) { return Buffer::Flags(uint32_t(a) & uint32_t(b)); }
inline Buffer::Flags &operator|=(Buffer::Flags &a, Buffer::Flags b) { return a = a | b; }
inline Buffer::Flags operator~(Buffer::Flags a) { return Buffer::Flags(~uint32_t(a)); }

} // namespace Ostrevan
