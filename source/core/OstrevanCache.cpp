#include "OstrevanCacheKolm.h"

#include "OstrevanStreamKolm.h"
#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Cache, Noncopyable)

Cache::Cache() : Cache(VoidImpl()) {}

bool Cache::open(const char *name, uint64_t max_size) { return impl().ref().open(name, max_size); }
bool Cache::open(const String &name, uint64_t max_size) { return impl().ref().open(name.get(), max_size); }
void Cache::close() { impl().ref().close(); }

bool Cache::isOpened() const { return impl().isValid() && impl().ref().isOpened(); }
String Cache::getName() const { return getPublicString(impl().ref().getName()); }
uint64_t Cache::getMaxSize() const { return impl().ref().getMaxSize(); }

bool Cache::load(const String &key, Stream &dest) { return impl().ref().load(getCoreString(key), dest.impl().ref()); }
bool Cache::save(const String &key, Stream &src, bool flush) {
    return impl().ref().save(getCoreString(key), src.impl().ref(), flush);
}
bool Cache::remove(const String &key) { return impl().ref().remove(getCoreString(key)); }
bool Cache::clear(bool flush) { return impl().ref().clear(flush); }

uint32_t Cache::getNumEntries() const { return impl().ref().getNumEntries(); }
uint64_t Cache::getSize() const { return impl().ref().getSize(); }
uint64_t Cache::getNumHits() const { return impl().ref().getNumHits(); }
uint64_t Cache::getNumMisses() const { return impl().ref().getNumMisses(); }

} // namespace Ostrevan
