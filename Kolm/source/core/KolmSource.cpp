// KolmSource.cpp: the look-up of names, and a stream that stands for what was found.

#include "KolmSource.h"

#include <sys/stat.h>

#include "KolmAtomic.h"
#include "KolmBlob.h"
#include "KolmFile.h"
#include "KolmLog.h"
#include "KolmMap.h"

namespace Kolm {

namespace {

// Bytes of others, to read.
class MemoryStream final : public Stream {
public:
    MemoryStream(const String &name, const uint8_t *data, size_t size) : name(name), data(data), size(size) {}

    Stream *move() override { return new MemoryStream(*this); }
    bool isOpened() const override { return true; }
    bool isMapped() const override { return true; }
    bool isAvailable() const override { return pos < size; }
    size_t getSize() const override { return size; }
    const String &getName() const override { return name; }
    size_t tell() const override { return pos; }
    bool seek(size_t offset) override {
        pos = min(offset, size);
        return offset <= size;
    }
    bool seekBack(size_t offset) override {
        pos = size - min(offset, size);
        return offset <= size;
    }
    bool seekCur(int64_t offset) override {
        if(offset >= 0) {
            const bool ret = (uint64_t(offset) <= size - pos);
            pos += min(size_t(offset), size - pos);
            return ret;
        }
        const size_t step = size_t(0 - uint64_t(offset));
        const bool ret = (step <= pos);
        pos -= min(step, pos);
        return ret;
    }
    const uint8_t *getData() const override { return data; }
    size_t read(void *dest, size_t num) override {
        num = min(num, size - pos);
        if(num) memcpy(dest, data + pos, num);
        pos += num;
        return num;
    }
    size_t write(const void *, size_t) override { return 0; }
    bool flush() override { return true; }

private:
    String name;
    const uint8_t *data;
    size_t size;
    size_t pos = 0;
};

struct Block {
    const uint8_t *data = nullptr;
    size_t size = 0;
    const uint8_t (*rows)[256] = nullptr; // instead of data
};

struct NamedCallback {
    uint32_t id = 0;
    Source::Callback func;
};

struct Registry {
    SpinLock lock;
    Map<String, Block> blocks;
    Array<String> paths; // with a "/" at their end
    Array<NamedCallback> callbacks;
    uint32_t last_id = 0;
};

// Resources register themselves before, and threads may open some after the statics of this file live.
Registry &get_registry() {
    alignas(Registry) static char storage[sizeof(Registry)];
    static Registry *registry = new(storage) Registry();
    return *registry;
}

Stream *ask_callbacks(const char *name) {
    Registry &registry = get_registry();
    Array<NamedCallback> callbacks;
    {
        AtomicLock guard(registry.lock);
        if(registry.callbacks.empty()) return nullptr;
        callbacks = registry.callbacks;
    }
    for(uint32_t i = 0; i < callbacks.size(); i++) {
        Stream *stream = callbacks[i].func(name);
        if(stream && stream->isOpened()) return stream;
        delete stream;
    }
    return nullptr;
}

bool find_block(const char *name, Block &block) {
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    const Block *found = registry.blocks.get(name);
    if(found) block = *found;
    return found != nullptr;
}

bool is_regular(const char *name) {
    struct stat info;
    return stat(name, &info) == 0 && S_ISREG(info.st_mode);
}

// First file of that name in the search paths.
String find_path(const char *name) {
    Array<String> paths;
    if(*name != '/') {
        Registry &registry = get_registry();
        AtomicLock guard(registry.lock);
        if(registry.paths.size()) paths = registry.paths;
    }
    for(uint32_t i = 0; i < paths.size(); i++) {
        String path = paths[i] + name;
        if(is_regular(path.get())) return path;
    }
    return String();
}

String get_path(const char *path) {
    String ret(path);
    if(ret && ret.back() != '/') ret.append('/');
    return ret;
}

} // namespace

// What stands behind an opened source.
enum SourceKind { SourceNone, SourceCallback, SourceMemory, SourceBlob, SourceFile };

struct Source::SourceImpl : public Allocated {
    ~SourceImpl() { delete stream; }

    void set(SourceKind new_kind, Stream *new_stream, const char *new_name) {
        kind = new_kind;
        stream = new_stream;
        name = new_name;
    }

    String name;
    SourceKind kind = SourceNone;
    Stream *stream = nullptr;
};

Source::Source() : impl(new SourceImpl()) {}

Source::Source(const Source &source) : Source() {
    if(!source.isOpened()) return;
    const Stream *stream = source.impl->stream;
    const char *name = source.impl->name.get();
    switch(source.impl->kind) {
    case SourceNone: return;
    case SourceMemory:
        impl->set(SourceMemory, new MemoryStream(*static_cast<const MemoryStream *>(stream)), name);
        return;
    case SourceBlob: impl->set(SourceBlob, new Blob(*static_cast<const Blob *>(stream)), name); return;
    case SourceFile: {
        File *file = new File(*static_cast<const File *>(stream));
        if(file->isOpened())
            impl->set(SourceFile, file, name);
        else
            delete file;
        return;
    }
    case SourceCallback:
        if(open_callback(name)) impl->stream->seek(stream->tell());
        return;
    }
}

Source::Source(const Source &source, bool take) : Source() {
    if(take)
        swap(impl, source.impl);
    else
        *this = Source(source);
}

Source::Source(Source &&source) noexcept : Source(source, true) {}

Source::~Source() { delete impl; }

Source &Source::operator=(Source &&source) noexcept {
    if(this == &source) return *this;
    swap(impl, source.impl);
    if(source.impl) source.close();
    return *this;
}

Stream *Source::move() { return new Source(*this, true); }

// opening

bool Source::open(const char *name, bool search, bool log) {
    const String path(name); // a source may be opened again by its own name
    close();
    bool found = false; // a file is there, and its failure was logged
    if(path) {
        if(search && (open_callback(path.get()) || open_block(path.get()))) return true;
        if(File::isFile(path.get())) {
            if(open_file(path.get())) return true;
            found = true;
        }
        if(search) {
            const String file = find_path(path.get());
            if(file && open_file(file.get())) return true;
            found |= !file.empty();
        }
    }
    if(log && !found) Log::printf(Log::Error, "Source::open(): can't open \"%s\" source\n", path.get());
    return false;
}

bool Source::open_callback(const char *name) {
    Stream *stream = ask_callbacks(name);
    if(stream == nullptr) return false;
    impl->set(SourceCallback, stream, name);
    return true;
}

bool Source::open_block(const char *name) {
    Block block;
    if(!find_block(name, block)) return false;
    if(block.rows == nullptr) {
        impl->set(SourceMemory, new MemoryStream(name, block.data, block.size), name);
        return true;
    }
    Blob *blob = new Blob(name);
    if(!blob->setData(block.rows)) {
        delete blob;
        return false;
    }
    impl->set(SourceBlob, blob, name);
    return true;
}

bool Source::open_file(const char *name) {
    File *file = new File();
    if(!file->open(name, "rb")) {
        delete file;
        return false;
    }
    impl->set(SourceFile, file, name);
    return true;
}

void Source::close() {
    delete impl->stream;
    impl->set(SourceNone, nullptr, nullptr);
}

// stream

#define SOURCE_STREAM(TEXT) (KOLM_ASSERT(isOpened() && TEXT), *impl->stream)

bool Source::isOpened() const { return impl && impl->stream && impl->stream->isOpened(); }
bool Source::isMapped() const { return isOpened() && impl->stream->isMapped(); }
bool Source::isAvailable() const { return SOURCE_STREAM("Source::isAvailable(): is not opened").isAvailable(); }
size_t Source::getSize() const { return SOURCE_STREAM("Source::getSize(): is not opened").getSize(); }
const String &Source::getName() const { return impl->name; }
size_t Source::tell() const { return SOURCE_STREAM("Source::tell(): is not opened").tell(); }
bool Source::seek(size_t offset) { return SOURCE_STREAM("Source::seek(): is not opened").seek(offset); }
bool Source::seekBack(size_t offset) { return SOURCE_STREAM("Source::seekBack(): is not opened").seekBack(offset); }
bool Source::seekCur(int64_t offset) { return SOURCE_STREAM("Source::seekCur(): is not opened").seekCur(offset); }
const uint8_t *Source::getData() const {
    return isMapped() ? const_cast<const Stream *>(impl->stream)->getData() : nullptr;
}
size_t Source::read(void *dest, size_t size) { return SOURCE_STREAM("Source::read(): is not opened").read(dest, size); }
size_t Source::write(const void *, size_t) {
    KOLM_ASSERT(isOpened() && "Source::write(): is not opened");
    return 0;
}
bool Source::flush() {
    KOLM_ASSERT(isOpened() && "Source::flush(): is not opened");
    return true;
}

#undef SOURCE_STREAM

// names

bool Source::isSource(const char *name) {
    if(name == nullptr || *name == '\0') return false;
    if(isBlock(name) || is_regular(name)) return true;
    Stream *stream = ask_callbacks(name);
    const bool ret = (stream != nullptr);
    delete stream;
    return ret;
}

String Source::find(const char *name) {
    if(name == nullptr || *name == '\0') return String();
    return isSource(name) ? String(name) : find_path(name);
}

// registered by the application

void Source::setBlock(const char *name, const uint8_t *data, size_t size) {
    KOLM_ASSERT(name && *name && "Source::setBlock(): invalid name");
    KOLM_ASSERT((data || size == 0) && "Source::setBlock(): invalid data");
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    registry.blocks.append(String(name), Block{data, size, nullptr});
}

void Source::setBlock(const char *name, const uint8_t (*rows)[256]) {
    KOLM_ASSERT(name && *name && "Source::setBlock(): invalid name");
    KOLM_ASSERT(rows && "Source::setBlock(): invalid data");
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    registry.blocks.append(String(name), Block{nullptr, 0, rows});
}

bool Source::isBlock(const char *name) {
    Block block;
    return name && find_block(name, block);
}

bool Source::removeBlock(const char *name) {
    if(name == nullptr) return false;
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    return registry.blocks.remove(name);
}

void Source::clearBlocks() {
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    registry.blocks.clear();
}

void Source::addPath(const char *path) {
    KOLM_ASSERT(path && *path && "Source::addPath(): invalid path");
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    registry.paths.append(get_path(path));
}

bool Source::removePath(const char *path) {
    const String name = get_path(path);
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    for(uint32_t i = 0; i < registry.paths.size(); i++) {
        if(registry.paths[i] != name) continue;
        registry.paths.remove(i);
        return true;
    }
    return false;
}

void Source::clearPaths() {
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    registry.paths.release();
}

uint32_t Source::addCallback(const Callback &callback) {
    KOLM_ASSERT(!callback.empty() && "Source::addCallback(): invalid callback");
    Registry &registry = get_registry();
    AtomicLock guard(registry.lock);
    NamedCallback &entry = registry.callbacks.append();
    entry.id = ++registry.last_id;
    entry.func = callback;
    return entry.id;
}

bool Source::removeCallback(uint32_t id) {
    Registry &registry = get_registry();
    Array<NamedCallback> callbacks; // the functions go when the lock is free again
    AtomicLock guard(registry.lock);
    for(uint32_t i = 0; i < registry.callbacks.size(); i++) {
        if(registry.callbacks[i].id != id) callbacks.append(registry.callbacks[i]);
    }
    const bool ret = (callbacks.size() != registry.callbacks.size());
    registry.callbacks.swap(callbacks);
    return ret;
}

void Source::clearCallbacks() {
    Registry &registry = get_registry();
    Array<NamedCallback> callbacks;
    AtomicLock guard(registry.lock);
    registry.callbacks.swap(callbacks);
}

} // namespace Kolm
