// A store of results that can be made again, kept in a folder between runs.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>

namespace Ostrevan {

/// Store of bytes under keys of 40 hexadecimal digits, such as the text of a SHA-1.
///
///     Cache cache;
///     cache.open("/home/user/.cache/application");
///     const String key = Blob::getSHA1(parameters);
///     Blob result;
///     if(!cache.load(key, result)) {
///         compute(parameters, result);
///         result.seek(0);
///         cache.save(key, result);
///     }
///
/// Any number of processes may use one folder at once, and any number of threads one cache, while it is opened. An
/// entry is replaced as a whole: a reader sees the old or the new one. When the entries grow beyond the limit, those
/// that were not used for the longest time go. What is damaged, or was written by another version, is a miss.
class OSTREVAN_API Cache {
    OSTREVAN_LEAF_HANDLE(Cache)
public:
    static constexpr uint64_t DefaultSize = 256ull << 20;

    Cache();

    /// Opens the folder of that name, which is made if it is not there. \p max_size is the limit in bytes of all
    /// entries together. An opened cache is closed first. Returns false and logs if the name is no folder or can't
    /// become one. A folder that can't be written to serves for loading.
    bool open(const char *name, uint64_t max_size = DefaultSize);
    bool open(const String &name, uint64_t max_size = DefaultSize);
    void close();

    bool isOpened() const;
    String getName() const;
    uint64_t getMaxSize() const;

    /// Writes the bytes of an entry at the position of \p dest. False for a miss, and nothing was written then; a
    /// damaged entry is logged. Misses of a cache that is not opened are not counted.
    bool load(const String &key, Stream &dest);
    /// Stores the bytes from the position of \p src to its end, in place of what was under the key. With \p flush they
    /// are on the disk on return and survive the failure of the machine; without, such a failure may cost the entry.
    /// Returns false and logs if that fails, once only for a folder that can't be written to, and quietly for a cache
    /// that is not opened. More bytes than a quarter of the limit are refused.
    bool save(const String &key, Stream &src, bool flush = false);
    /// False if there is no such entry.
    bool remove(const String &key);
    /// Removes all entries, with \p flush from the disk on return. False if one stays.
    bool clear(bool flush = false);

    /// What is in the folder now; each call looks there.
    uint32_t getNumEntries() const;
    uint64_t getSize() const;

    /// Loads since the cache was opened.
    uint64_t getNumHits() const;
    uint64_t getNumMisses() const;
};

} // namespace Ostrevan
