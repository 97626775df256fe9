// Fuzz entry of encoded integers, strings and lines: from memory and from a pipe all must read the same.

#include "FuzzSupport.h"

using namespace Kolm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    quiet_log();
    Blob blob(data, size);
    FuzzPipe pipe(data, size, 0);
    Blob written;
    bool status = true, pipe_status = true;
    for(uint32_t i = 0; blob.isAvailable() && i < 10000; i++) {
        const size_t begin = blob.tell();
        switch(data[begin] % 7) {
        case 0:
        case 1: {
            const uint32_t value = blob.readu32e(&status);
            FUZZ_CHECK(pipe.readu32e(&pipe_status) == value && blob.tell() - begin <= 5);
            if(status) FUZZ_CHECK(written.writeu32e(value));
            break;
        }
        case 2: {
            const uint64_t value = blob.readu64e(&status);
            FUZZ_CHECK(pipe.readu64e(&pipe_status) == value && blob.tell() - begin <= 9);
            if(status) {
                written.clear();
                FUZZ_CHECK(written.writeu64e(value) && written.getSize() <= blob.tell() - begin);
                written.seek(0);
                FUZZ_CHECK(written.readu64e() == value);
            }
            break;
        }
        case 3: {
            const String str = blob.readString(&status);
            FUZZ_CHECK(pipe.readString(&pipe_status) == str && str.size() < size);
            break;
        }
        case 4: FUZZ_CHECK(pipe.readString('\n', &pipe_status) == blob.readString('\n', &status)); break;
        case 5: FUZZ_CHECK(pipe.readLine(&pipe_status) == blob.readLine(&status)); break;
        case 6: FUZZ_CHECK(pipe.readToken(&pipe_status) == blob.readToken(&status)); break;
        }
        FUZZ_CHECK(status == pipe_status && blob.tell() == pipe.tell());
        if(!status && blob.tell() == begin) break;
        status = pipe_status = true;
    }
    return 0;
}
