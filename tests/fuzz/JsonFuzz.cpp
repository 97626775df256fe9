// Fuzz entry of JSON. Build with `clang++ -fsanitize=fuzzer,address,undefined`.
//
// The first byte picks the form, the rest is the text. A text that is taken must be saved, and what is saved must be taken
// and saved as the same bytes again.

#include <stdlib.h>

#include "KolmBlob.h"
#include "KolmJson.h"
#include "KolmLog.h"

using namespace Kolm;

#define CHECK(EXPR) ((EXPR) ? void(0) : abort())

static bool is_silent(Log::Level, size_t, const char *, void *) { return true; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Log::setCallback(is_silent);
    if(size < 2) return 0;
    const bool compact = (data[0] & 1) != 0;
    const char *text = reinterpret_cast<const char *>(data + 1);
    Json json;
    bool loaded = false;
    if(data[0] & 2) {
        Blob blob(data + 1, size - 1);
        loaded = json.load(blob);
    } else if(data[0] & 4) {
        loaded = json.create(static_cast<const char *>(Allocator::allocate(text, size - 1)), size - 1, true);
    } else {
        loaded = json.create(text, size - 1);
    }
    if(!loaded) {
        CHECK(json.isUnknown() && json.getNumChildren() == 0);
        return 0;
    }
    // An element without name can be read but not saved.
    Blob first, second;
    if(!json.save(first, compact)) return 0;
    Json again;
    CHECK(again.create(reinterpret_cast<const char *>(first.getData()), first.getSize()));
    CHECK(again.save(second, compact));
    CHECK(first.getSize() == second.getSize() && memcmp(first.getData(), second.getData(), first.getSize()) == 0);
    // Parts of a tree live on without it.
    Json part;
    if(json.getNumChildren()) {
        Json *child = json.removeChild(json.getChild(json.getNumChildren() - 1));
        part.addChild(child);
        json.clear();
    }
    Json copy(part);
    const String path = copy.getNumChildren() ? copy.getChild(0u)->getPathName() : String();
    CHECK(copy.getChild(path.get()) != nullptr || path.find('/', 1) != String::NotFound);
    return 0;
}
