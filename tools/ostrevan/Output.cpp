#include "Output.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

static bool write_all(FILE *file, const void *data, size_t size) {
    const bool written = (fwrite(data, 1, size, file) == size);
    return (fclose(file) == 0) && written;
}

bool writeFile(const char *command, const char *name, const void *data, size_t size) {
    // What is no plain file, such as a pipe or /dev/null, can't be replaced.
    struct stat info = {};
    const bool is_special = (stat(name, &info) == 0 && !S_ISREG(info.st_mode));
    const std::string part = is_special ? name : std::string(name) + "." + std::to_string(getpid()) + ".part";
    FILE *file = fopen(part.c_str(), "wb");
    bool done = file && write_all(file, data, size);
    if(done && !is_special) done = (rename(part.c_str(), name) == 0);
    if(done) return true;
    fprintf(stderr, "ostrevan %s: can't write \"%s\": %s\n", command, name, strerror(errno));
    if(file && !is_special) unlink(part.c_str());
    return false;
}
