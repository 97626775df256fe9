#pragma once

#include <platform/OstrevanShader.h>

#include "KolmShader.h"
#include "OstrevanHandleKolm.h"

namespace Ostrevan {

struct Shader::ShaderImpl : HandleImpl<Shader, Kolm::Shader> {};

#define OSTREVAN_SHADER_TYPE(NAME)                                      \
    static_assert(int(Shader::Type##NAME) == Kolm::Shader::Type##NAME); \
    static_assert(int(Shader::Mask##NAME) == Kolm::Shader::Mask##NAME);
OSTREVAN_SHADER_TYPE(Vertex)
OSTREVAN_SHADER_TYPE(Control)
OSTREVAN_SHADER_TYPE(Evaluate)
OSTREVAN_SHADER_TYPE(Geometry)
OSTREVAN_SHADER_TYPE(Fragment)
OSTREVAN_SHADER_TYPE(Compute)
OSTREVAN_SHADER_TYPE(Task)
OSTREVAN_SHADER_TYPE(Mesh)
OSTREVAN_SHADER_TYPE(RayGen)
OSTREVAN_SHADER_TYPE(RayMiss)
OSTREVAN_SHADER_TYPE(Closest)
OSTREVAN_SHADER_TYPE(FirstHit)
OSTREVAN_SHADER_TYPE(Intersection)
OSTREVAN_SHADER_TYPE(Callable)
#undef OSTREVAN_SHADER_TYPE
static_assert(int(Shader::NumTypes) == Kolm::Shader::NumTypes && int(Shader::MaskAll) == Kolm::Shader::MaskAll);

} // namespace Ostrevan
