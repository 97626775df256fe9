#include "Output.h"

#include <Ostrevan.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static bool write_all(FILE *file, const void *data, size_t size) {
    const bool written = (fwrite(data, 1, size, file) == size);
    return (fclose(file) == 0) && written;
}

bool writeFile(const char *name, const void *data, size_t size, std::string &error) {
    // What is no plain file, such as a pipe or /dev/null, can't be replaced.
    struct stat info = {};
    const bool is_special = (stat(name, &info) == 0 && !S_ISREG(info.st_mode));
    const std::string part = is_special ? name : std::string(name) + "." + std::to_string(getpid()) + ".part";
    FILE *file = fopen(part.c_str(), "wb");
    bool done = file && write_all(file, data, size);
    if(done && !is_special) done = (rename(part.c_str(), name) == 0);
    if(done) return true;
    error = std::string("can't write \"") + name + "\": " + strerror(errno);
    if(file && !is_special) unlink(part.c_str());
    return false;
}

bool writeOutput(const char *command, const char *name, const void *data, size_t size) {
    std::string error = "can't write to the standard output";
    if(strcmp(name, "-") == 0) {
        if(fwrite(data, 1, size, stdout) == size && fflush(stdout) == 0) return true;
    } else if(writeFile(name, data, size, error)) {
        return true;
    }
    fprintf(stderr, "ostrevan %s: %s\n", command, error.c_str());
    return false;
}

void appendJson(std::string &dest, const char *text) {
    dest += '"';
    const uint32_t size = static_cast<uint32_t>(strlen(text));
    for(uint32_t i = 0; i < size;) {
        uint32_t length = 1;
        const uint32_t code = Ostrevan::String::toUtf32(text + i, size - i, length);
        if(code == '"' || code == '\\') {
            dest += '\\';
            dest += static_cast<char>(code);
        } else if(code == '\n') {
            dest += "\\n";
        } else if(code < 32) {
            char buffer[8];
            snprintf(buffer, sizeof(buffer), "\\u%04x", code);
            dest += buffer;
        } else {
            Ostrevan::String letter;
            Ostrevan::String::fromUtf32(letter, code);
            dest += letter.get();
        }
        i += length ? length : 1;
    }
    dest += '"';
}
