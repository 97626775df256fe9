// Fuzz entry of the store of embedded resources. The input is its rows; the last one is put behind them.

#include <zlib.h>

#include "FuzzSupport.h"

using namespace Kolm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    quiet_log();
    // Rows as they stand, or made of the payload: a first byte says how much of it each row carries.
    std::vector<uint8_t> rows, payload;
    if(size && data[0] % 2) {
        rows.assign(data + 1, data + size);
        rows.resize((rows.size() + 255) / 256 * 256);
        for(size_t i = 0; i < rows.size() && rows[i] != 255; i += 256)
            payload.insert(payload.end(), rows.begin() + long(i) + 1, rows.begin() + long(i) + 255 - rows[i]);
    } else if(size) {
        const size_t step = data[0] ? data[0] : 254;
        payload.assign(data + 1, data + size);
        for(size_t i = 0; i < payload.size(); i += step) {
            const size_t num = std::min(step, payload.size() - i);
            rows.resize(rows.size() + 256);
            uint8_t *row = &rows[rows.size() - 256];
            row[0] = uint8_t(254 - num);
            memcpy(row + 1, &payload[i], num);
        }
    }
    rows.resize(rows.size() + 256, 255);
    Blob blob;
    const bool ret = blob.setData(reinterpret_cast<const uint8_t(*)[256]>(rows.data()));

    // What came out, if all is well, is what zlib makes of the payload.
    if(ret) {
        std::vector<uint8_t> expected(blob.getSize() + 1);
        uLongf length = expected.size();
        uLong consumed = payload.size();
        FUZZ_CHECK(uncompress2(expected.data(), &length, payload.data(), &consumed) == Z_OK);
        FUZZ_CHECK(length == blob.getSize() && memcmp(expected.data(), blob.getData(), length) == 0);
    }
    return 0;
}
