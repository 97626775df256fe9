// KolmBuffer.h: a buffer's parameters and the rules that hold for every operation on it.
// Rests on formats and strings. Backends derive the class, ask its checks first and then only do the work.

#pragma once

#include "KolmFormat.h"
#include "KolmPlatform.h"
#include "KolmString.h"

namespace Kolm {

/// Linear memory of a device. Created by Device; not to be changed from two threads at once.
class Buffer : public PlatformBase {
public:
    enum Flags : uint32_t {
        FlagNone = 0,
#define BUFFER_FLAG(BIT, NAME, ...) Flag##NAME = 1u << BIT,
#include "KolmBufferFlags.inc"
        DefaultFlags = FlagNone,
        NumFlags = 21
    };

    explicit Buffer(uint32_t index);

    /// Gives the memory back and forgets name, flags, format and size.
    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    /// Words of the flags, each with a blank behind it, or "None".
    virtual String getFlagsName() const;
    /// Size, flags and format for messages.
    virtual String getDescription() const;
    virtual bool create(Flags flags, size_t size, Format format = FormatUnknown) = 0;
    /// Second buffer on the memory of a Shared or Interop buffer.
    virtual bool create(Buffer *buffer) = 0;

    const String &getName() const { return buffer_name; }
    Flags getFlags() const { return buffer_flags; }
    bool hasFlags(Flags flags) const { return (buffer_flags & flags) == uint32_t(flags); }
    bool hasFlag(Flags flags) const { return (buffer_flags & flags) != 0; }
    Format getFormat() const { return buffer_format; }
    size_t getSize() const { return buffer_size; }
    /// Bytes of a page of a sparse buffer, 0 for others.
    uint32_t getPageSize() const { return buffer_page_size; }
    bool isMapped() const { return buffer_mapped; }
    size_t getMemory() const { return buffer_size; }

    static String getFlagsName(Flags flags);

    /// Whether the range lies in the buffer. A range that begins at the end does not, though it may be empty.
    bool check(size_t offset, size_t size) const;

protected:
    friend class Device;
    friend class ComputeRecorder;

    /// Stores the parameters of create() after testing them; a refusal clears the object.
    bool init(Flags flags, size_t size, Format format);
    bool init(const Buffer *src);

    /// The rules of the operations. Each logs why and returns false.
    bool check_set(size_t offset, size_t size) const;
    bool check_get(size_t offset, size_t size) const;
    bool check_map(size_t offset, size_t size) const;
    bool check_unmap() const;
    bool check_copy(size_t dest_offset, const Buffer *src, size_t src_offset, size_t size) const;
    bool check_clear(size_t offset, size_t size) const;
    bool check_bind(const size_t *offsets, const size_t *sizes, uint32_t num) const;

    /// One 32-bit word that fills memory with \p value, an element of \p format; 0 for a null value.
    /// A value that no word repeats is logged: \p status, if given, is set to false then.
    static uint32_t get_clear_value(Format format, const void *value, bool *status = nullptr);

    String buffer_name;
    Flags buffer_flags = FlagNone;
    Format buffer_format = FormatUnknown;
    size_t buffer_size = 0;
    uint32_t buffer_page_size = 0; // set by a backend for a sparse buffer
    bool buffer_mapped = false;    // set by a backend between map and unmap
};

inline Buffer::Flags operator|(Buffer::Flags a, Buffer::Flags b) { return Buffer::Flags(uint32_t(a) | uint32_t(b)); }
inline Buffer::Flags operator&(Buffer::Flags a, Buffer::Flags b) { return Buffer::Flags(uint32_t(a) & uint32_t(b)); }
inline Buffer::Flags &operator|=(Buffer::Flags &a, Buffer::Flags b) { return a = a | b; }
inline Buffer::Flags operator~(Buffer::Flags a) { return Buffer::Flags(~uint32_t(a)); }

} // namespace Kolm
