// KolmBlob.h: the byte stream in memory, with its digests, base64 and the store of embedded resources.
// Rests on Stream and the allocator. Hides how the memory grows and is handed on without copying.

#pragma once

#include "KolmStream.h"

namespace Kolm {

/// Growable byte stream in memory, always opened. Writing in the middle overwrites, writing at the end extends.
/// A failed allocation leaves the content as it was: write() returns 0, the setters return false.
class Blob : public Stream {
public:
    explicit Blob(const char *name = nullptr);
    Blob(const uint8_t *data, size_t size, const char *name = nullptr);
    /// Unpacks an embedded resource, see setData().
    explicit Blob(const uint8_t (*rows)[256], const char *name = nullptr);
    /// Copies content, name and position.
    Blob(const Blob &blob);
    /// Copies, or takes the content over if \p take is set: \p blob is then empty, and opened still.
    Blob(const Blob &blob, bool take);
    Blob(Blob &&blob) noexcept;
    ~Blob() override;

    Blob &operator=(const Blob &blob);
    Blob &operator=(Blob &&blob) noexcept;

    Stream *move() override;

    bool isOpened() const override { return impl != nullptr; }
    bool isMapped() const override { return true; }
    bool isAvailable() const override;
    size_t getSize() const override;
    const String &getName() const override;
    size_t tell() const override;
    /// A position behind the end moves to the end and returns false.
    bool seek(size_t offset) override;
    bool seekBack(size_t offset) override;
    bool seekCur(int64_t offset) override;
    const uint8_t *getData() const override;
    size_t read(void *dest, size_t size) override;
    size_t write(const void *src, size_t size) override;
    bool flush() override;
    uint8_t *mapWrite(size_t size) override;
    void commitWrite(size_t size) override;

    /// Frees the memory. clear() keeps it and only drops the content. shrink() fits it to the content.
    void release();
    void shrink();
    void clear();

    void setName(const char *name);

    /// Changes the content's size. New bytes are zero; a position behind the end moves to the end.
    bool setSize(size_t size);
    /// Makes room for \p capacity bytes. The content stays; a smaller capacity than the size is ignored.
    bool setCapacity(size_t capacity);
    size_t getCapacity() const;

    uint8_t *getData();

    /// Replaces the content; the position is at the start.
    bool setData(const Blob &blob);
    bool setData(const uint8_t *data, size_t size);
    /// Unpacks rows of 256 bytes: the first byte c of a row is 255 at the end of the store, else 254 - c bytes of
    /// a zlib stream follow it. Returns false and logs if that stream is not complete.
    bool setData(const uint8_t (*rows)[256]);

    /// Text of \p size bytes from the position, or of the rest if 0. The position moves. With \p line, a newline
    /// follows each group of four that takes a line beyond that many characters.
    String encodeBase64(size_t size = 0, uint32_t line = 0);
    /// Writes the decoded bytes. White space is skipped, the text ends at '='. False and a line for other letters.
    bool decodeBase64(const char *text);

    /// Digest of \p size bytes from the position, or of the rest if 0. The position stays. The words are those that
    /// the hexadecimal text shows, first digits in the top bits: 4 for MD5, 5 for SHA-1.
    /// False, or an empty text, if less than \p size bytes are left.
    bool getMD5(uint32_t *hash, size_t size = 0) const;
    String getMD5(size_t size = 0) const;
    bool getSHA1(uint32_t *hash, size_t size = 0) const;
    String getSHA1(size_t size = 0) const;

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

protected:
    bool read_encoded(uint64_t &value, uint32_t max) override;

private:
    struct BlobImpl;

    bool reserve(size_t size);
    bool reallocate(size_t capacity);

    mutable BlobImpl *impl;
};

} // namespace Kolm
