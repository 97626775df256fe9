// Compiling in tests. Every module that comes out is validated on the spot.

#pragma once

#include "CapturedLog.h"
#include "KolmCompiler.h"
#include "SpirvModule.h"

/// Result of one compile. With `desktop` it uses names of the desktop dialect, which the validator refuses for Vulkan. A module that does not validate fails the test that made it.
struct CompiledShader {
    CompiledShader(Kolm::Shader::Type type, const std::string &src,
                   Kolm::Compiler::Options options = Kolm::Compiler::DefaultOptions, const char *macros = nullptr,
                   bool desktop = false) {
        // one object for all compiles, so that what one leaves behind would show in the next
        static Kolm::Compiler compiler;
        CapturedLog captured;
        ok = compiler.compileGLSL(type, src.c_str(), macros, offset, options);
        log = captured.text();
        message = compiler.getMessage().get();
        if(!ok) return;
        module = SpirvModule(compiler.getOpcodes().get(), compiler.getOpcodes().size());
        if(!desktop) { EXPECT_TRUE(module.validate()) << src; }
    }

    bool ok = false;
    uint32_t offset = 0;
    std::string message;
    std::string log;
    SpirvModule module;
};

/// A compute shader of 64 invocations around declarations and statements.
inline CompiledShader compile_compute(const std::string &globals, const std::string &body = "") {
    return CompiledShader(Kolm::Shader::TypeCompute,
                          "layout(local_size_x = 64) in;\n" + globals + "\nvoid main() {\n" + body + "\n}\n");
}
