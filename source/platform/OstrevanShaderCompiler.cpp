#include "OstrevanShaderCompilerKolm.h"

#include "OstrevanStreamKolm.h"
#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(ShaderCompiler, Noncopyable, Shader)

ShaderCompiler::ShaderCompiler() : ShaderCompiler(VoidImpl()) {}

uint32_t ShaderCompiler::getNumOpcodes() const { return impl().isValid() ? impl().ref().getOpcodes().size() : 0; }
const uint32_t *ShaderCompiler::getOpcodes() const { return isCreated() ? impl().ref().getOpcodes().get() : nullptr; }

bool ShaderCompiler::getBinary(Stream &stream, const char *format) const {
    return impl().ref().getBinary(stream.impl().ref(), format);
}
String ShaderCompiler::getSource(const char *format) const {
    return String::StringImpl::TS(impl().ref().getSource(format));
}

const char *ShaderCompiler::getCapabilityName(uint32_t capability) {
    return Kolm::ShaderCompiler::getCapabilityName(capability);
}

} // namespace Ostrevan
