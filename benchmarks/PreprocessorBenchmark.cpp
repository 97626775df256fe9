// The preprocessor on texts as applications have them, and on long ones. Time is per byte of source.

#include <benchmark/benchmark.h>

#include <string>

#include "KolmShader.h"

using namespace Kolm;

namespace {

std::string repeat(const char *text, size_t count) {
    std::string ret;
    for(size_t i = 0; i < count; i++) ret += text;
    return ret;
}

void run(benchmark::State &bench, const std::string &src) {
    for(auto _ : bench) {
        Shader::State state;
        state.set_name("bench.comp");
        state.set_macros("KOLM_GLSL=1; KOLM_VK=1; GROUP_SIZE=64u; LOCAL_SHADER=1");
        state.set_macro("_LINUX", "1");
        state.set_macro("__LINE__", "0");
        String dest;
        if(!Shader::preprocessor(src.c_str(), dest, state, true)) bench.SkipWithError("failed");
        benchmark::DoNotOptimize(dest.get());
    }
    bench.SetBytesProcessed(int64_t(bench.iterations() * src.size()));
}

const char *function = "// Returns the colour of a texel.\n"
                       "vec4 get_color(uint index, vec2 texcoord) {\n"
                       "\tvec4 color = texture(sampler2D(in_texture, in_sampler), texcoord * scale.xy + scale.zw);\n"
                       "\t/* in linear space */\n"
                       "\tif(index >= GROUP_SIZE) color.xyz = pow(color.xyz, vec3(2.2f));\n"
                       "\treturn color * factors[index];\n"
                       "}\n\n";

void Plain(benchmark::State &bench) { run(bench, repeat(function, size_t(bench.range(0)))); }
BENCHMARK(Plain)->Arg(1)->Arg(8)->Arg(128)->Arg(4096);

void Conditions(benchmark::State &bench) {
    run(bench,
        repeat("#if LOCAL_SHADER && defined(KOLM_VK)\n\tuint value = 1u;\n#elif CLEAR_SHADER\n\tuint value = 2u;\n"
               "#else\n\tdon't look here\n#endif\n",
               size_t(bench.range(0))));
}
BENCHMARK(Conditions)->Arg(8)->Arg(1024);

void Macros(benchmark::State &bench) {
    run(bench, "#define MAX(a, b) ((a) > (b) ? (a) : (b))\n#define SWAP(T, a, b) { T c = a; a = b; b = c; }\n" +
                   repeat("\tSWAP(uint, left[i], right[i]) value = MAX(MAX(left[i], right[i]), GROUP_SIZE);\n",
                          size_t(bench.range(0))));
}
BENCHMARK(Macros)->Arg(8)->Arg(1024)->Arg(8192);

} // namespace
