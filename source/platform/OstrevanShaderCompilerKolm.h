#pragma once

#include <platform/OstrevanShaderCompiler.h>

#include "KolmShaderCompiler.h"
#include "OstrevanShaderKolm.h"

namespace Ostrevan {

struct ShaderCompiler::ShaderCompilerImpl : HandleImpl<ShaderCompiler, Kolm::ShaderCompiler, Shader> {};

} // namespace Ostrevan
