// The shader compiler as an object of its own.

#pragma once

#include <platform/OstrevanShader.h>

namespace Ostrevan {

/// Shader of no platform: compiles GLSL to SPIR-V and keeps the words. Needs no device and no graphics driver.
///
///     ShaderCompiler compiler;
///     if(!compiler.loadGLSL(Shader::TypeCompute, "blur.comp", "RADIUS=%uu", 4u)) return 1;
///     File file;
///     if(!file.open("blur.spv", "wb") || !compiler.getBinary(file)) return 1;
class OSTREVAN_API ShaderCompiler : public Shader {
    OSTREVAN_HANDLE(ShaderCompiler)
public:
    ShaderCompiler();

    /// Words of the module, 0 and null until a shader is created. They stand until the next load or create.
    uint32_t getNumOpcodes() const;
    const uint32_t *getOpcodes() const;

    /// Writes the words, or those of the translator \p format. Expects a created shader. False if the reason was
    /// logged.
    bool getBinary(Stream &stream, const char *format = nullptr) const;
    /// Text of the translator \p format. Expects a created shader. Empty if there is no such translator.
    String getSource(const char *format) const;

    /// Name of a capability that modules declare, as published. Null for a number that the compiler does not know.
    static const char *getCapabilityName(uint32_t capability);
};

} // namespace Ostrevan
