// Fuzz entry of the LZ4 decoders, whose oracle is the LZ4 library. The first byte chooses the way in and out.

#include <lz4.h>

#include "FuzzSupport.h"

using namespace Kolm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    quiet_log();
    if(size < 1) return 0;
    const uint8_t way = *data++;
    size--;
    constexpr size_t room = 16 << 20;

    Blob memory(data, size);
    FuzzPipe pipe(data, size, 0);
    Stream &src = (way & 1) ? static_cast<Stream &>(pipe) : memory;
    Blob dest;
    FuzzPipe dest_pipe(nullptr, 0, room);
    const bool is_mapped = (way & 2) && size < 60000; // memory that nothing limits: 255 bytes for each of the input
    bool status = true;
    const size_t ret = is_mapped ? dest.decodeLz4(src, 0, &status) : dest_pipe.decodeLz4(src, 0, &status);
    const uint8_t *bytes = is_mapped ? dest.getData() : dest_pipe.bytes();
    FUZZ_CHECK(ret == (is_mapped ? dest.getSize() : dest_pipe.length()));
    if(status && size) {
        std::vector<char> expected(ret + 1);
        const int length =
            LZ4_decompress_safe(reinterpret_cast<const char *>(data), expected.data(), int(size), int(expected.size()));
        // The library also refuses blocks that break the rules of the last bytes: those decode here.
        FUZZ_CHECK(length < 0 || (size_t(length) == ret && (ret == 0 || memcmp(expected.data(), bytes, ret) == 0)));
    }
    // What the library packs must come back, though it reads some blocks that are refused here: those with offset 0.
    std::vector<char> packed(static_cast<size_t>(LZ4_compressBound(int(size))));
    packed.resize(size_t(
        LZ4_compress_default(reinterpret_cast<const char *>(data), packed.data(), int(size), int(packed.size()))));
    Blob packed_blob(reinterpret_cast<const uint8_t *>(packed.data()), packed.size());
    Blob back;
    status = true;
    FUZZ_CHECK(back.decodeLz4(packed_blob, 0, &status) == size && status && back.getSize() == size);
    FUZZ_CHECK(size == 0 || memcmp(back.getData(), data, size) == 0);

    std::vector<uint8_t> block(1 << 16);
    Blob framed(data, size);
    FUZZ_CHECK(framed.readLz4(block.data(), block.size()) <= block.size());
    return 0;
}
