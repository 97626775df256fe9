// Fuzz entry of the preprocessor.
//
// The input is a text; what stands behind each zero byte in it is the text of the include "0", "1" and so on.

#include <stdio.h>
#include <string>
#include <vector>

#include "KolmLog.h"
#include "KolmShader.h"

using namespace Kolm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool quiet = [] {
        Log::setCallback([](Log::Level, size_t, const char *, void *) { return true; });
        return true;
    }();
    (void)quiet;

    std::vector<std::string> texts(1);
    for(size_t i = 0; i < size; i++) {
        if(data[i])
            texts.back() += char(data[i]);
        else if(texts.size() < 10)
            texts.emplace_back();
    }
    Shader::State state;
    state.set_macro("__LINE__", "0");
    state.set_name("main");
    for(size_t i = 1; i < texts.size(); i++) {
        state.includes.append(String::fromu32(uint32_t(i - 1)), String(texts[i].c_str()));
    }
    String dest;
    if(Shader::preprocessor(texts[0].c_str(), dest, state, true)) {
        for(uint32_t offset = 0; offset < dest.size(); offset += 1 + dest.size() / 16) {
            state.get_source(offset);
            if(state.get_line(offset) > size + 1) abort();
        }
    }
    return 0;
}
