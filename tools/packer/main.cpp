// blob_pack NAME INPUT OUTPUT: writes a file as an array of the library's data, for Blob::setData.
//
// The array holds a zlib stream in rows of 256 bytes. The first byte c of a row is 255 in the last one, and otherwise
// tells that 254 - c bytes of the stream follow it. An OUTPUT that ends in ".cpp" defines the array with external
// linkage, any other is meant to be included where the array is used.

#include <algorithm>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <string>
#include <vector>
#include <zlib.h>

namespace {

constexpr size_t row_size = 256;
constexpr size_t row_payload = 254;

bool read_file(const char *name, std::vector<uint8_t> &data) {
    FILE *file = fopen(name, "rb");
    if(file == nullptr) return false;
    uint8_t buffer[65536];
    for(size_t size; (size = fread(buffer, 1, sizeof(buffer), file)) != 0;)
        data.insert(data.end(), buffer, buffer + size);
    const bool ret = !ferror(file);
    fclose(file);
    return ret;
}

void write_row(FILE *file, const uint8_t *row) {
    fputs("    {", file);
    for(size_t i = 0; i < row_size; i++) fprintf(file, i ? ",%u" : "%u", row[i]);
    fputs("},\n", file);
}

bool write_file(const char *name, const std::string &array, const char *input, const std::vector<uint8_t> &data) {
    FILE *file = fopen(name, "wb");
    if(file == nullptr) return false;
    const size_t length = strlen(name);
    const bool is_source = (length > 4 && strcmp(name + length - 4, ".cpp") == 0);
    const char *base = strrchr(input, '/');
    fprintf(file, "// Made by blob_pack from %s.\n", base ? base + 1 : input);
    if(is_source) fprintf(file, "#include <stdint.h>\nextern const uint8_t %s[][%zu];\n", array.c_str(), row_size);
    fprintf(file, "%sconst uint8_t %s[][%zu] = {\n", is_source ? "" : "static ", array.c_str(), row_size);
    for(size_t i = 0; i < data.size(); i += row_payload) {
        const size_t num = std::min(row_payload, data.size() - i);
        uint8_t row[row_size] = {static_cast<uint8_t>(row_payload - num)};
        memcpy(row + 1, data.data() + i, num);
        write_row(file, row);
    }
    const uint8_t end[row_size] = {255};
    write_row(file, end);
    fputs("};\n", file);
    const bool ret = !ferror(file);
    return fclose(file) == 0 && ret;
}

} // namespace

int main(int argc, char **argv) {
    if(argc != 4) {
        fprintf(stderr, "usage: blob_pack NAME INPUT OUTPUT\n");
        return 2;
    }
    std::vector<uint8_t> data;
    if(!read_file(argv[2], data)) {
        fprintf(stderr, "blob_pack: can't read \"%s\" file\n", argv[2]);
        return 1;
    }
    uLongf size = compressBound(data.size());
    std::vector<uint8_t> packed(size);
    if(compress2(packed.data(), &size, data.data(), data.size(), Z_BEST_COMPRESSION) != Z_OK) {
        fprintf(stderr, "blob_pack: can't compress \"%s\" file\n", argv[2]);
        return 1;
    }
    packed.resize(size);
    if(!write_file(argv[3], std::string(argv[1]) + "_blob_src", argv[2], packed)) {
        fprintf(stderr, "blob_pack: can't write \"%s\" file\n", argv[3]);
        remove(argv[3]);
        return 1;
    }
    return 0;
}
