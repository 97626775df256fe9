// KolmCache.cpp: files of the entries, and which of them go when there are too many.

#include "KolmCache.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "KolmBlob.h"
#include "KolmLog.h"
#include "KolmSHA1.h"
#include "KolmSort.h"

namespace Kolm {

namespace {

constexpr uint32_t cache_magic = 0x68636163; // "cach"
constexpr uint32_t cache_version = 1;
constexpr uint32_t key_size = 40;
constexpr int64_t part_age = 3600; // seconds after which an unfinished file is one that nobody writes to
constexpr size_t step_size = 0x10000;
constexpr int32_t max_entries = 1 << 20; // that one look at a folder sorts or removes

constexpr int64_t get_nanoseconds(const timespec &time) { return int64_t(time.tv_sec) * 1000000000 + time.tv_nsec; }

bool read_all(int32_t file, void *dest, size_t size) {
    uint8_t *ptr = static_cast<uint8_t *>(dest);
    while(size) {
        const ssize_t num = read(file, ptr, size);
        if(num < 0 && errno == EINTR) continue;
        if(num <= 0) return false;
        ptr += num;
        size -= size_t(num);
    }
    return true;
}

bool write_all(int32_t file, const void *src, size_t size) {
    const uint8_t *ptr = static_cast<const uint8_t *>(src);
    while(size) {
        const ssize_t num = write(file, ptr, size);
        if(num < 0 && errno == EINTR) continue;
        if(num <= 0) return false;
        ptr += num;
        size -= size_t(num);
    }
    return true;
}

uint32_t get_digit(char c) {
    if(c >= '0' && c <= '9') return uint32_t(c - '0');
    if(c >= 'a' && c <= 'f') return uint32_t(c - 'a' + 10);
    if(c >= 'A' && c <= 'F') return uint32_t(c - 'A' + 10);
    return 16;
}

bool is_part(const char *name) { return strncmp(name, "part-", 5) == 0; }

// Makes a folder and those above it.
bool make_folder(const char *name) {
    String path(name);
    for(uint32_t i = 1; i < path.size(); i++) {
        if(path[i] != '/') continue;
        path[i] = '\0';
        if(mkdir(path.get(), 0777) && errno != EEXIST) return false;
        path[i] = '/';
    }
    return mkdir(path.get(), 0777) == 0 || errno == EEXIST;
}

} // namespace

// Key as the name of a file and as bytes.
class Cache::Key {
public:
    explicit Key(const String &key, const char *method) {
        bool valid = (key.size() == key_size);
        for(uint32_t i = 0; i < key_size && valid; i++) {
            const uint32_t digit = get_digit(key[i]);
            valid = (digit < 16);
            text[i] = "0123456789abcdef0"[digit];
            bytes[i >> 1] = uint8_t((bytes[i >> 1] << 4) | (digit & 15));
        }
        if(valid) return;
        Log::printf(Log::Error, "Cache::%s(): invalid key \"%s\"\n", method, key.get());
        text[0] = '\0';
    }

    explicit operator bool() const { return text[0] != '\0'; }

    char text[key_size + 1] = {};
    uint8_t bytes[key_size / 2] = {};
};

// What a file begins with. The bytes of the entry follow and end the file.
struct Cache::Header {
    uint32_t magic = cache_magic;
    uint32_t version = cache_version;
    uint8_t key[key_size / 2] = {};
    uint32_t hash[SHA1::NumWords] = {}; // of the fields around it and of the bytes
    uint64_t size = 0;                  // of the bytes

    void get_hash(uint32_t *dest, const uint8_t *data) const {
        SHA1 sha;
        sha.update(this, offsetof(Header, hash));
        sha.update(&size, sizeof(size));
        sha.update(data, size_t(size));
        sha.finish(dest);
    }
};

struct Cache::Entry {
    int64_t time = 0;
    uint64_t size = 0;
    char text[key_size + 1] = {};

    bool operator<(const Entry &entry) const { return time < entry.time; }
    bool operator>(const Entry &entry) const { return time > entry.time; }
};

// -- Life -----------------------------------------------------------------------------------------------------------

bool Cache::open(const char *new_name, uint64_t new_size) {
    static_assert(sizeof(Header) == 56, "the layout of files is fixed");
    KOLM_ASSERT(new_name && "Cache::open(): invalid name");
    const String path(new_name);
    close();
    const int32_t flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    folder = ::open(path.get(), flags);
    if(folder < 0 && errno == ENOENT && path && make_folder(path.get())) folder = ::open(path.get(), flags);
    if(folder < 0) {
        Log::printef(Log::Error, "Cache::open(): can't open \"%s\" folder\n", path.get());
        return false;
    }
    name = path;
    max_size = new_size;
    is_readonly = 0;
    num_hits = num_misses = 0;
    unseen = 0;
    uint64_t size = 0;
    scan(nullptr, 0, size, true);
    used = int64_t(size);
    return true;
}

void Cache::close() {
    if(folder >= 0) ::close(folder);
    folder = -1;
    name.release();
}

// -- Entries --------------------------------------------------------------------------------------------------------

bool Cache::load(const String &key, Stream &dest) {
    if(!isOpened()) return false;
    const Key entry(key, "load");
    if(!entry) return false;
    bool damaged = false;
    if(load_entry(entry, dest, damaged)) {
        ++num_hits;
        return true;
    }
    ++num_misses;
    if(damaged) Log::printf(Log::Warning, "Cache::load(): \"%s\" entry is damaged\n", entry.text);
    return false;
}

bool Cache::load_entry(const Key &key, Stream &dest, bool &damaged) {
    struct Descriptor : NoCopy {
        ~Descriptor() {
            if(file >= 0) ::close(file);
        }
        int32_t file = -1;
    } descriptor;
    // A pipe or a link under this name is none of ours, and must not be waited for.
    const int32_t file = openat(folder, key.text, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    descriptor.file = file;
    struct stat info;
    if(file < 0 || fstat(file, &info) || !S_ISREG(info.st_mode)) return false;

    damaged = true;
    Header header;
    if(!read_all(file, &header, sizeof(header)) || header.magic != cache_magic) return false;
    if(header.version != cache_version) {
        damaged = false; // the file of another version of the library
        return false;
    }
    if(memcmp(header.key, key.bytes, sizeof(header.key))) return false;
    if(header.size > max_size || header.size + sizeof(header) != uint64_t(info.st_size)) return false;

    Blob blob;
    for(uint64_t rest = header.size; rest;) {
        const size_t num = size_t(min(rest, uint64_t(step_size)));
        uint8_t *ptr = blob.mapWrite(num);
        if(ptr == nullptr || !read_all(file, ptr, num)) return false;
        blob.commitWrite(num);
        rest -= num;
    }
    const uint8_t *data = static_cast<const Blob &>(blob).getData();
    uint32_t hash[SHA1::NumWords];
    header.get_hash(hash, data);
    if(memcmp(hash, header.hash, sizeof(hash))) return false;

    damaged = false;
    if(dest.write(data, size_t(header.size)) != size_t(header.size)) {
        Log::printf(Log::Error, "Cache::load(): can't write stream\n");
        return false;
    }
    const int64_t time = get_time();
    const timespec times[2] = {{0, UTIME_OMIT}, {time_t(time / 1000000000), long(time % 1000000000)}};
    futimens(file, times); // fails for files of others, which then go by the time when they were saved
    return true;
}

bool Cache::save(const String &key, Stream &src, bool flush) {
    if(!isOpened()) return false;
    if(src.isMapped()) {
        const size_t pos = src.tell();
        const size_t size = src.getSize() - pos;
        if(!save(key, const_cast<const Stream &>(src).getData() + pos, size, flush)) return false;
        src.seek(pos + size);
        return true;
    }
    Blob blob;
    bool status = true;
    blob.writeStream(src, 0, &status);
    if(!status) {
        Log::printf(Log::Error, "Cache::save(): can't read stream\n");
        return false;
    }
    return save(key, static_cast<const Blob &>(blob).getData(), blob.getSize(), flush);
}

bool Cache::save(const String &key, const uint8_t *data, size_t size, bool flush) {
    if(!isOpened() || is_readonly != 0) return false;
    const Key entry(key, "save");
    if(!entry) return false;
    if(size > max_size / 4 || size + sizeof(Header) > max_size / 4) {
        Log::printf(Log::Error, "Cache::save(): %s are too many for a limit of %s\n", String::fromBytes(size).get(),
                    String::fromBytes(max_size).get());
        return false;
    }
    Header header;
    header.size = size;
    memcpy(header.key, entry.bytes, sizeof(header.key));
    header.get_hash(header.hash, data);

    make_room(size + sizeof(header));
    char temp[80];
    snprintf(temp, sizeof(temp), "part-%u-%u-%llx", uint32_t(getpid()), uint32_t(++num_parts),
             static_cast<unsigned long long>(get_time()));
    errno = 0;
    if(write_entry(header, temp, data, size, flush, entry.text)) {
        used += int64_t(size + sizeof(header));
        unseen += int64_t(size + sizeof(header));
        return true;
    }
    if(errno == EACCES || errno == EPERM || errno == EROFS) is_readonly = 1;
    Log::printef(Log::Error, "Cache::save(): can't write to \"%s\" folder\n", name.get());
    return false;
}

// The file gets the entry's name when it is whole. A failure leaves its reason in errno.
bool Cache::write_entry(const Header &header, const char *temp, const uint8_t *data, size_t size, bool flush,
                        const char *entry) {
    const int32_t file = openat(folder, temp, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if(file < 0) return false;
    const int64_t time = get_time();
    const timespec times[2] = {{0, UTIME_OMIT}, {time_t(time / 1000000000), long(time % 1000000000)}};
    bool ret = write_all(file, &header, sizeof(header)) && write_all(file, data, size) && futimens(file, times) == 0;
    if(ret && flush) ret = (fsync(file) == 0);
    int32_t error = errno;
    if(::close(file) && ret) {
        error = errno;
        ret = false;
    }
    if(ret && renameat(folder, temp, folder, entry)) {
        error = errno;
        ret = false;
    }
    if(ret && flush) fsync(folder);
    if(!ret) unlinkat(folder, temp, 0);
    errno = error;
    return ret;
}

bool Cache::remove(const String &key) {
    if(!isOpened()) return false;
    const Key entry(key, "remove");
    return entry && unlinkat(folder, entry.text, 0) == 0;
}

bool Cache::clear(bool flush) {
    if(!isOpened()) return false;
    uint64_t size = 0;
    const int32_t num = scan(nullptr, 0, size, true);
    Array<Entry> entries(uint32_t(clamp(num, 0, max_entries)));
    const uint32_t count = uint32_t(max(scan(entries.get(), entries.size(), size, false), 0));
    bool ret = (num >= 0);
    for(uint32_t i = 0; i < min(count, entries.size()); i++) {
        if(unlinkat(folder, entries[i].text, 0) && errno != ENOENT) ret = false;
    }
    if(flush) fsync(folder);
    if(!ret) Log::printef(Log::Error, "Cache::clear(): can't clear \"%s\" folder\n", name.get());
    used = 0;
    unseen = 0;
    return ret;
}

// -- The folder -----------------------------------------------------------------------------------------------------

// Time of a use, later than all uses before it in this process: the clock of the system may stand still or go back.
int64_t Cache::get_time() {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    for(;;) {
        const int64_t last = last_time;
        const int64_t time = max(get_nanoseconds(now), last + 1);
        if(last_time.cas(last, time)) return time;
    }
}

// Looks at all entries: their number, which may be larger than what fits, and their bytes; below zero if the folder can't
// be read. With `clean` unfinished files that were left behind go.
int32_t Cache::scan(Entry *entries, uint32_t room, uint64_t &size, bool clean) const {
    size = 0;
    const int32_t file = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *dir = (file < 0) ? nullptr : fdopendir(file);
    if(dir == nullptr) {
        if(file >= 0) ::close(file);
        return -1;
    }
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    int32_t num = 0;
    while(const dirent *item = readdir(dir)) {
        uint32_t length = 0;
        while(length <= key_size && get_digit(item->d_name[length]) < 16) length++;
        const bool is_entry = (length == key_size && item->d_name[length] == '\0');
        if(!is_entry && !(clean && is_part(item->d_name))) continue;
        struct stat info;
        if(fstatat(folder, item->d_name, &info, AT_SYMLINK_NOFOLLOW) || !S_ISREG(info.st_mode)) continue;
        if(!is_entry) {
            if(now.tv_sec - info.st_mtim.tv_sec > part_age) unlinkat(folder, item->d_name, 0);
            continue;
        }
        size += uint64_t(info.st_size);
        if(uint32_t(num) < room) {
            Entry &entry = entries[num];
            entry.time = get_nanoseconds(info.st_mtim);
            entry.size = uint64_t(info.st_size);
            memcpy(entry.text, item->d_name, key_size);
        }
        if(num < 0x7FFFFFFF) num++;
    }
    closedir(dir);
    return num;
}

// Removes the entries that were not used for the longest time until a new one of that size fits. Processes that share
// the folder do not hear of each other's entries, so that each looks at it anew from time to time; a quarter of the room
// is made at once, so that this is seldom.
void Cache::make_room(uint64_t size) {
    const uint64_t expected = uint64_t(max(int64_t(used), int64_t(0))) + size;
    if(expected <= max_size && uint64_t(int64_t(unseen)) < max_size / 16) return;
    if(!room_lock.check()) return; // another thread is at it
    uint64_t total = 0;
    const int32_t num = scan(nullptr, 0, total, true);
    if(num > 0 && total + size > max_size) {
        Array<Entry> entries(uint32_t(min(num, max_entries)));
        const int32_t count = scan(entries.get(), entries.size(), total, false);
        entries.resize(min(uint32_t(max(count, 0)), entries.size()));
        quickSort(entries.get(), entries.size());
        const uint64_t target = max_size - max_size / 4;
        for(uint32_t i = 0; i < entries.size() && total + size > target; i++) {
            if(unlinkat(folder, entries[i].text, 0) && errno != ENOENT) continue;
            total -= min(entries[i].size, total);
        }
    }
    used = int64_t(total);
    unseen = 0;
    room_lock.unlock();
}

uint32_t Cache::getNumEntries() const {
    uint64_t size = 0;
    return isOpened() ? uint32_t(max(scan(nullptr, 0, size, false), 0)) : 0;
}

uint64_t Cache::getSize() const {
    uint64_t size = 0;
    if(isOpened()) scan(nullptr, 0, size, false);
    return size;
}

} // namespace Kolm
