#include "KolmFile.h"

#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "KolmLog.h"

namespace Kolm {

struct File::FileImpl : public Allocated {
    // What the FILE was last used for. The C library wants a seek or a flush between a read and a write.
    enum State { StateNone, StateRead, StateWrite };

    String name;
    size_t size = 0; // when the file was opened
    FILE *file = nullptr;
    State state = StateNone;
    bool is_pipe = false;     // closed by pclose
    bool is_readable = false; // by the mode
    bool is_writable = false;

    void open(FILE *new_file, const char *mode, bool pipe) {
        file = new_file;
        size = 0;
        state = StateNone;
        is_pipe = pipe;
        const bool is_update = (strchr(mode, '+') != nullptr);
        is_readable = (strchr(mode, 'r') || is_update);
        is_writable = (strchr(mode, 'r') == nullptr || is_update);
    }

    void set_state(State new_state) {
        if(state == new_state) return;
        if(state == StateWrite)
            fflush(file);
        else if(state == StateRead && !is_pipe)
            fseeko(file, 0, SEEK_CUR);
        state = new_state;
    }

    size_t tell() const {
        const off_t ret = ftello(file);
        return (ret < 0) ? 0 : static_cast<size_t>(ret);
    }

    // Moves into the content, whose end may have moved since the file was opened.
    bool seek(size_t offset) {
        state = StateNone;
        if(offset <= size) return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
        if(fseeko(file, 0, SEEK_END)) return false;
        const size_t end = tell();
        return (offset == end) || (offset < end && fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0);
    }

    size_t get_end() {
        const size_t pos = tell();
        state = StateNone;
        if(fseeko(file, 0, SEEK_END)) return 0;
        const size_t end = tell();
        fseeko(file, static_cast<off_t>(pos), SEEK_SET);
        return end;
    }
};

File::File() : impl(new FileImpl()) {}

File::File(const File &file) : File() {
    if(!file.isOpened() || file.impl->is_pipe || file.impl->name.empty()) return;
    file.impl->set_state(FileImpl::StateNone); // what was written must be there for the copy
    const char *mode = !file.impl->is_writable ? "rb" : "r+b";
    if(open(file.impl->name.get(), mode)) seek(file.tell());
}

File::File(const File &file, bool take) : File() {
    if(take)
        swap(impl, file.impl);
    else
        *this = File(file);
}

File::File(File &&file) noexcept : File(file, true) {}

File::~File() {
    if(impl) close();
    delete impl;
}

File &File::operator=(File &&file) noexcept {
    if(this == &file) return *this;
    swap(impl, file.impl);
    if(file.impl) file.close();
    return *this;
}

Stream *File::move() { return new File(*this, true); }

// opening

bool File::open(const char *name, const char *mode) {
    KOLM_ASSERT(name && "File::open(): invalid name");
    KOLM_ASSERT(mode && "File::open(): invalid mode");
    if(isOpened()) close();
    if(name != impl->name.get()) impl->name = name;
    return open_file(fopen(name, mode), mode);
}

bool File::open(int32_t descriptor, const char *name, const char *mode) {
    KOLM_ASSERT(name && "File::open(): invalid name");
    KOLM_ASSERT(mode && "File::open(): invalid mode");
    if(isOpened()) close();
    if(name != impl->name.get()) impl->name = name;
    return open_file(fdopen(descriptor, mode), mode);
}

bool File::open_file(FILE *file, const char *mode) {
    const char *name = impl->name.get();
    if(file == nullptr) {
        Log::printef(Log::Error, "File::open(): can't open \"%s\" file\n", name);
        return false;
    }
    impl->open(file, mode, false);
    struct stat info = {};
    if(fstat(fileno(file), &info)) {
        Log::printef(Log::Error, "File::open(): can't stat \"%s\" file\n", name);
        close();
        return false;
    }
    if(S_ISDIR(info.st_mode)) {
        errno = EISDIR;
        Log::printef(Log::Error, "File::open(): can't open \"%s\" file\n", name);
        close();
        return false;
    }
    impl->size = S_ISREG(info.st_mode) ? static_cast<size_t>(info.st_size) : 0;
    return true;
}

bool File::popen(const char *command, const char *mode) {
    KOLM_ASSERT(command && "File::popen(): invalid command");
    KOLM_ASSERT(mode && "File::popen(): invalid mode");
    if(isOpened()) close();
    impl->name.clear();
    FILE *file = ::popen(command, mode);
    if(file == nullptr) {
        Log::printef(Log::Error, "File::popen(): can't open \"%s\" command\n", command);
        return false;
    }
    impl->open(file, mode, true);
    return true;
}

void File::close() {
    if(!isOpened()) return;
    const int32_t ret = impl->is_pipe ? pclose(impl->file) : fclose(impl->file);
    impl->file = nullptr;
    impl->size = 0;
    // Buffered bytes that could not be written are lost here: the one place to hear of a full disk.
    if(ret == EOF) Log::printef(Log::Error, "File::close(): can't close \"%s\" file\n", impl->name.get());
}

// stream

bool File::isOpened() const { return impl && impl->file; }

bool File::isAvailable() const {
    KOLM_ASSERT(isOpened() && "File::isAvailable(): is not opened");
    if(!impl->is_readable) return false;
    if(impl->size && impl->tell() < impl->size) return true;
    // Pipes, and files that grow: only the next byte tells.
    impl->set_state(FileImpl::StateRead);
    const int32_t c = getc(impl->file);
    if(c == EOF) {
        clearerr(impl->file);
        return false;
    }
    return ungetc(c, impl->file) != EOF;
}

size_t File::getSize() const {
    KOLM_ASSERT(isOpened() && "File::getSize(): is not opened");
    return impl->size;
}

const String &File::getName() const { return impl->name; }

size_t File::tell() const {
    KOLM_ASSERT(isOpened() && "File::tell(): is not opened");
    return impl->tell();
}

bool File::seek(size_t offset) {
    KOLM_ASSERT(isOpened() && "File::seek(): is not opened");
    return impl->seek(offset);
}

bool File::seekBack(size_t offset) {
    KOLM_ASSERT(isOpened() && "File::seekBack(): is not opened");
    const size_t end = impl->get_end();
    return impl->seek(end - min(offset, end)) && offset <= end;
}

bool File::seekCur(int64_t offset) {
    KOLM_ASSERT(isOpened() && "File::seekCur(): is not opened");
    const size_t pos = impl->tell();
    if(offset >= 0) return impl->seek(pos + static_cast<size_t>(offset));
    const size_t step = static_cast<size_t>(0 - static_cast<uint64_t>(offset));
    return impl->seek(pos - min(step, pos)) && step <= pos;
}

size_t File::read(void *dest, size_t size) {
    KOLM_ASSERT(isOpened() && "File::read(): is not opened");
    if(size == 0) return 0;
    impl->set_state(FileImpl::StateRead);
    return fread(dest, 1, size, impl->file);
}

size_t File::write(const void *src, size_t size) {
    KOLM_ASSERT(isOpened() && "File::write(): is not opened");
    if(size == 0) return 0;
    impl->set_state(FileImpl::StateWrite);
    return fwrite(src, 1, size, impl->file);
}

bool File::flush() {
    KOLM_ASSERT(isOpened() && "File::flush(): is not opened");
    return fflush(impl->file) == 0;
}

bool File::read_encoded(uint64_t &value, uint32_t max) {
    KOLM_ASSERT(isOpened() && "File::read(): is not opened");
    impl->set_state(FileImpl::StateRead);
    value = 0;
    for(uint32_t i = 0; i < max; i++) {
        const int32_t c = getc(impl->file);
        if(c == EOF) break;
        value |= uint64_t(c & 0x7F) << (7 * i);
        if(c & 0x80) return true;
    }
    value = 0;
    return false;
}

// file system

namespace {

bool get_info(const char *name, struct stat &info) { return name && stat(name, &info) == 0; }

} // namespace

bool File::isFile(const char *name) {
    struct stat info = {};
    return get_info(name, info) && !S_ISDIR(info.st_mode);
}

size_t File::getSize(const char *name) {
    struct stat info = {};
    return get_info(name, info) ? static_cast<size_t>(info.st_size) : 0;
}

uint64_t File::getMTime(const char *name) {
    struct stat info = {};
    return get_info(name, info) ? static_cast<uint64_t>(info.st_mtime) : 0;
}

bool File::remove(const char *name) {
    if(name && unlink(name) == 0) return true;
    Log::printef(Log::Error, "File::remove(): can't remove \"%s\" file\n", name ? name : "");
    return false;
}

} // namespace Kolm
