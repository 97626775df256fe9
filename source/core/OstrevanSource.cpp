#include "OstrevanSourceKolm.h"

#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Source, Copyable, Stream)

Source::Source() : Source(VoidImpl()) { impl().alloc(); }

bool Source::open(const char *name, bool search, bool log) { return impl().ref().open(name, search, log); }
bool Source::open(const String &name, bool search, bool log) { return impl().ref().open(name.get(), search, log); }
void Source::close() { impl().ref().close(); }

bool Source::isSource(const char *name) { return Kolm::Source::isSource(name); }
String Source::find(const char *name) { return getPublicString(Kolm::Source::find(name)); }

void Source::setBlock(const char *name, const uint8_t *data, size_t size) { Kolm::Source::setBlock(name, data, size); }
void Source::setBlock(const char *name, const uint8_t (*rows)[256]) { Kolm::Source::setBlock(name, rows); }
bool Source::isBlock(const char *name) { return Kolm::Source::isBlock(name); }
bool Source::removeBlock(const char *name) { return Kolm::Source::removeBlock(name); }
void Source::clearBlocks() { Kolm::Source::clearBlocks(); }

void Source::addPath(const char *path) { Kolm::Source::addPath(path); }
bool Source::removePath(const char *path) { return Kolm::Source::removePath(path); }
void Source::clearPaths() { Kolm::Source::clearPaths(); }

static Kolm::Stream *open_stream(const char *name, Source::Callback func) {
    Stream stream = func(name);
    return stream.isOpened() ? stream.impl().ref().move() : nullptr;
}
uint32_t Source::addCallback(const Callback &callback) {
    return Kolm::Source::addCallback(toCoreFunction<Kolm::Stream *(const char *)>(open_stream, callback));
}
bool Source::removeCallback(uint32_t id) { return Kolm::Source::removeCallback(id); }
void Source::clearCallbacks() { Kolm::Source::clearCallbacks(); }

} // namespace Ostrevan
