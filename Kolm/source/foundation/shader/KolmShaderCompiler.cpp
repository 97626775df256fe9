// KolmShaderCompiler.cpp: keeps the words and hands them out.

#include "KolmShaderCompiler.h"

#include "KolmBlob.h"
#include "KolmLog.h"

namespace Kolm {

void ShaderCompiler::clear() {
    shader_type = TypeUnknown;
    shader_name.clear();
    shader_macros.clear();
    opcodes.release();
}

bool ShaderCompiler::saveState(Stream &stream) const {
    uint32_t hash[5] = {};
    if(!Blob::getSHA1(hash, reinterpret_cast<const uint8_t *>(opcodes.get()), opcodes.bytes())) return false;
    return stream.write(hash, sizeof(hash)) == sizeof(hash);
}

bool ShaderCompiler::compile(Type, const String &, State &) {
    Log::printf(Log::Error, "ShaderCompiler::compile(): unknown platform\n");
    return false;
}

bool ShaderCompiler::compile(Type type, const Array<uint32_t> &words, State &) {
    shader_type = type;
    opcodes = words;
    return true;
}

bool ShaderCompiler::getBinary(Stream &stream, const char *format) const {
    KOLM_ASSERT(isCreated() && "ShaderCompiler::getBinary(): shader is not created");
    if(format) {
        Log::printf(Log::Error, "ShaderCompiler::getBinary(): unknown format \"%s\"\n", format);
        return false;
    }
    if(stream.write(opcodes.get(), opcodes.bytes()) != opcodes.bytes()) {
        Log::printf(Log::Error, "ShaderCompiler::getBinary(): can't write stream\n");
        return false;
    }
    return true;
}

String ShaderCompiler::getSource(const char *format) const {
    KOLM_ASSERT(isCreated() && "ShaderCompiler::getSource(): shader is not created");
    Log::printf(Log::Error, "ShaderCompiler::getSource(): can't load shader\nunknown format \"%s\"\n",
                format ? format : "");
    return String();
}

const char *ShaderCompiler::getCapabilityName(uint32_t capability) {
    static constexpr struct {
        uint32_t number;
        const char *name;
    } capabilities[] = {
#define SPV_CAPABILITY(NUM, NAME) {NUM, #NAME},
#include "KolmSpirvOps.inc"
    };
    for(const auto &row : capabilities) {
        if(row.number == capability) return row.name;
    }
    return nullptr;
}

} // namespace Kolm
