// Fuzz entry of the zlib decoders. The first two bytes choose the size of a chunk and the way in and out.

#include <zlib.h>

#include "FuzzSupport.h"

using namespace Kolm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    quiet_log();
    if(size < 2) return 0;
    constexpr size_t room = 4 << 20; // what a stream takes: a few bytes can unpack to a thousand times as many
    const size_t chunk = (data[0] & 1) ? 0 : 1 + data[0];
    const bool is_pipe = data[1] & 1;
    data += 2;
    size -= 2;

    Blob memory(data, size);
    FuzzPipe pipe(data, size, 0);
    FuzzPipe dest(nullptr, 0, room);
    bool status = true;
    const size_t ret = dest.decodeZip(is_pipe ? static_cast<Stream &>(pipe) : memory, chunk, &status);
    FUZZ_CHECK(ret == dest.length());
    if(ret + (1 << 19) < room) {
        std::vector<uint8_t> expected(ret + 1);
        uLongf length = expected.size();
        uLong consumed = size;
        const int code = uncompress2(expected.data(), &length, data, &consumed);
        FUZZ_CHECK(status == (code == Z_OK && length == ret));
        FUZZ_CHECK(ret == 0 || memcmp(expected.data(), dest.bytes(), std::min<size_t>(length, ret)) == 0);
    }

    // the block form, whose room is known
    std::vector<uint8_t> block(1 << 16);
    Blob framed(data, size);
    FUZZ_CHECK(framed.readZip(block.data(), block.size()) <= block.size());
    return 0;
}
