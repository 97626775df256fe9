// KolmSource.cpp: names of sources are names of files.

#include "KolmSource.h"

#include "KolmLog.h"

namespace Kolm {

bool Source::open(const char *name, bool local, bool log) {
    close();
    if(local && isSource(name) && File::open(name, "rb")) return true;
    if(log) Log::printf(Log::Error, "Source::open(): can't open \"%s\" source\n", name);
    return false;
}

bool Source::isSource(const char *name) { return name && *name && File::isFile(name); }

} // namespace Kolm
