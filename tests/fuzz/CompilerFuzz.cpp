// Fuzz entry of the compiler, behind the preprocessor. The first byte of the input chooses the stage, the rest is text.

#include <string>

#include "KolmLog.h"
#include "KolmShaderCompiler.h"

using namespace Kolm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool quiet = [] {
        Log::setCallback([](Log::Level, size_t, const char *, void *) { return true; });
        return true;
    }();
    (void)quiet;
    static ShaderCompiler first; // keeps the compiler of this thread from run to run

    if(size == 0) return 0;
    const uint32_t type = Shader::TypeVertex + data[0] % (Shader::NumTypes - Shader::TypeVertex);
    const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
    ShaderCompiler shader;
    shader.createGLSL(Shader::Type(type), text.c_str());
    return 0;
}
