// KolmShaderCompiler.h: a shader of no platform, whose only product is its SPIR-V words. Needs no device.

#pragma once

#include "KolmShader.h"

namespace Kolm {

class ShaderCompiler : public Shader {
public:
    ShaderCompiler() = default;

    Platform getPlatform() const override { return PlatformUnknown; }

    void clear() override;
    bool isCreated() const override { return !opcodes.empty(); }
    /// Writes the SHA-1 of the words.
    bool saveState(Stream &stream) const override;

    /// SPIR-V words of the shader.
    const Array<uint32_t> &getOpcodes() const { return opcodes; }

    /// Writes the words, or with \p format those of the translator of that name. Expects a created shader.
    /// False if there is no such translator or the stream takes no more.
    bool getBinary(Stream &stream, const char *format = nullptr) const;
    /// Text of the translator \p format. Expects a created shader. The null string if there is no such translator.
    String getSource(const char *format) const;

    /// Name of a capability that modules declare, as published. Null for a number that the compiler does not know.
    static const char *getCapabilityName(uint32_t capability);

protected:
    bool compile(Type type, const String &src, State &state) override;
    bool compile(Type type, const Array<uint32_t> &words, State &state) override;

private:
    Array<uint32_t> opcodes;
};

} // namespace Kolm
