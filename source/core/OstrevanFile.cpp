#include "OstrevanFileKolm.h"

#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(File, Copyable, Stream)

File::File() : File(VoidImpl()) { impl().alloc(); }

bool File::open(const char *name, const char *mode) { return impl().ref().open(name, mode); }
bool File::open(const String &name, const char *mode) { return impl().ref().open(name.get(), mode); }
bool File::open(int32_t descriptor, const char *name, const char *mode) {
    return impl().ref().open(descriptor, name, mode);
}
bool File::popen(const char *command, const char *mode) { return impl().ref().popen(command, mode); }
void File::close() { impl().ref().close(); }

bool File::isFile(const char *name) { return Kolm::File::isFile(name); }
size_t File::getSize(const char *name) { return Kolm::File::getSize(name); }
uint64_t File::getMTime(const char *name) { return Kolm::File::getMTime(name); }
bool File::remove(const char *name) { return Kolm::File::remove(name); }

} // namespace Ostrevan
