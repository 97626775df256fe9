// The byte stream in memory.

#pragma once

#include <core/OstrevanStream.h>

namespace Ostrevan {

/// Growable byte stream in memory. Copies of the handle share the bytes; clonePtr() copies them.
///
/// A blob is false, and not opened, until its first use: an unused blob may be handed to a function that fills it.
/// Writing in the middle overwrites, writing at the end extends. When memory runs out, write() returns 0 and the setters
/// return false; the content stays.
class OSTREVAN_API Blob : public Stream {
    OSTREVAN_HANDLE(Blob)
public:
    explicit Blob(const char *name = nullptr);
    explicit Blob(const String &name);
    Blob(const uint8_t *data, size_t size, const char *name = nullptr);
    /// Unpacks an embedded resource, see setData().
    explicit Blob(const uint8_t (*rows)[256], const char *name = nullptr);

    /// Frees the memory. clear() keeps it and only drops the content. shrink() fits it to the content.
    void release();
    void shrink();
    void clear();

    void setName(const char *name);
    void setName(const String &name);

    /// Changes the content's size. New bytes are zero; a position behind the end moves to the end.
    bool setSize(size_t size);
    /// Makes room for \p capacity bytes. The content stays; a smaller capacity than the size is ignored.
    bool setCapacity(size_t capacity);
    size_t getCapacity() const;

    /// Replaces the content; the position is at the start.
    bool setData(const Blob &blob);
    bool setData(const uint8_t *data, size_t size);
    /// Unpacks rows of 256 bytes: the first byte c of a row is 255 at the end of the store, else 254 - c bytes of
    /// a zlib stream follow it. Returns false and logs if that stream is not complete.
    bool setData(const uint8_t (*rows)[256]);

    /// The bytes, until the blob is written to or resized.
    uint8_t *getData();
    const uint8_t *getData() const;

    /// Text of \p size bytes from the position, or of the rest if 0. The position moves. With \p line, a newline
    /// follows each group of four that takes a line beyond that many characters.
    String encodeBase64(size_t size = 0, uint32_t line = 0);
    /// Writes the decoded bytes. White space is skipped, the text ends at '='. False and a line for other letters.
    bool decodeBase64(const char *text);
    bool decodeBase64(const String &text);

    /// Digest of \p size bytes from the position, or of the rest if 0. The position stays. The words are those that
    /// the hexadecimal text shows, first digits in the top bits: 4 for MD5, 5 for SHA-1.
    /// False, or an empty text, if less than \p size bytes are left.
    bool getMD5(uint32_t *hash, size_t size = 0) const;
    String getMD5(size_t size = 0) const;
    bool getSHA1(uint32_t *hash, size_t size = 0) const;
    String getSHA1(size_t size = 0) const;

    /// Digests of other bytes; those of a stream start at its position, and move it.
    static bool getMD5(uint32_t *hash, const String &str);
    static bool getMD5(uint32_t *hash, const uint8_t *src, size_t size);
    static bool getMD5(uint32_t *hash, Stream &stream, size_t size = 0);
    static String getMD5(const String &str);
    static String getMD5(const uint8_t *src, size_t size);
    static String getMD5(Stream &stream, size_t size = 0);

    static bool getSHA1(uint32_t *hash, const String &str);
    static bool getSHA1(uint32_t *hash, const uint8_t *src, size_t size);
    static bool getSHA1(uint32_t *hash, Stream &stream, size_t size = 0);
    static String getSHA1(const String &str);
    static String getSHA1(const uint8_t *src, size_t size);
    static String getSHA1(Stream &stream, size_t size = 0);
};

} // namespace Ostrevan
