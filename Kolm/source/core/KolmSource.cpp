// KolmSource.cpp: names of sources are names of files.

#include "KolmSource.h"

#include <sys/stat.h>

#include "KolmLog.h"

namespace Kolm {

bool Source::open(const char *name, bool local, bool log) {
    close();
    if(local && name && *name && File::isFile(name) && File::open(name, "rb")) return true;
    if(log) Log::printf(Log::Error, "Source::open(): can't open \"%s\" source\n", name);
    return false;
}

bool Source::isSource(const char *name) {
    struct stat info;
    return name && *name && stat(name, &info) == 0 && S_ISREG(info.st_mode);
}

} // namespace Kolm
