// KolmCache.h: a store of results that can be made again, kept in a folder between runs of a program.
// Rests on Stream and SHA-1. Hides the files: one for each entry, replaced as a whole, checked when it is read.
//
// Nothing is trusted that comes from the folder, and nothing is lost by it: what is damaged, cut, of another version or
// of another key is a miss. The layout of a file is told in docs/formats/cache.md.

#pragma once

#include "KolmAtomic.h"
#include "KolmString.h"

namespace Kolm {

class Stream;

/// Store of bytes under keys of 40 hexadecimal digits, such as the text of a SHA-1.
///
/// Any number of processes may use one folder at once, and any number of threads one object, while it is opened. An
/// entry is replaced as a whole: a reader sees the old or the new one. When the entries grow beyond the limit, those
/// that were not used for the longest time go.
class Cache : private NoCopy {
public:
    static constexpr uint64_t DefaultSize = 256ull << 20;

    constexpr Cache() = default;
    ~Cache() { close(); }

    /// Opens the folder of that name, which is made if it is not there. \p max_size is the limit in bytes of all
    /// entries together. An opened cache is closed first. Returns false and logs if the name is no folder or can't
    /// become one. A folder that can't be written to serves for loading.
    bool open(const char *name, uint64_t max_size = DefaultSize);
    void close();

    bool isOpened() const { return folder >= 0; }
    const String &getName() const { return name; }
    uint64_t getMaxSize() const { return max_size; }

    /// Writes the bytes of an entry at the position of \p dest. False for a miss, and nothing was written then; a
    /// damaged entry is logged. Misses of a cache that is not opened are not counted.
    bool load(const String &key, Stream &dest);
    /// Stores the bytes from the position of \p src to its end, in place of what was under the key. With \p flush they
    /// are on the disk on return and survive the failure of the machine; without, such a failure may cost the entry.
    /// Returns false and logs if that fails, once only for a folder that can't be written to, and quietly for a cache
    /// that is not opened. More bytes than a quarter of the limit are refused.
    bool save(const String &key, Stream &src, bool flush = false);
    bool save(const String &key, const uint8_t *data, size_t size, bool flush = false);
    /// False if there is no such entry.
    bool remove(const String &key);
    /// Removes all entries, with \p flush from the disk on return. False if one stays.
    bool clear(bool flush = false);

    /// What is in the folder now; each call looks there.
    uint32_t getNumEntries() const;
    uint64_t getSize() const;

    /// Loads since the cache was opened.
    uint64_t getNumHits() const { return uint64_t(num_hits.load_relaxed()); }
    uint64_t getNumMisses() const { return uint64_t(num_misses.load_relaxed()); }

private:
    struct Header;
    struct Entry;
    class Key;

    int32_t scan(Entry *entries, uint32_t room, uint64_t &size, bool clean) const;
    bool load_entry(const Key &key, Stream &dest, bool &damaged);
    bool write_entry(const Header &header, const char *temp, const uint8_t *data, size_t size, bool flush,
                     const char *entry);
    void make_room(uint64_t size);
    int64_t get_time();

    String name;
    int32_t folder = -1; // descriptor: the folder stays the same when the program changes its own
    uint64_t max_size = DefaultSize;
    Atomici64 used;      // bytes in the folder as far as this process knows
    Atomici64 unseen;    // of these, bytes that were written since the folder was last looked at
    Atomici64 last_time; // time of the last use of an entry, in nanoseconds since 1970
    Atomici64 num_hits;
    Atomici64 num_misses;
    Atomici32 num_parts; // files written so far, for their names
    SpinLock room_lock;  // held by the one thread that removes entries
    Atomici32 is_readonly;
};

} // namespace Kolm
