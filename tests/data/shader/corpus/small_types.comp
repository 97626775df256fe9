#version 460
#extension GL_EXT_shader_atomic_float : enable
#extension GL_EXT_shader_16bit_storage : require
#extension GL_EXT_shader_explicit_arithmetic_types_float16 : require
#extension GL_EXT_shader_explicit_arithmetic_types_int64 : require
layout(local_size_x = 32, local_size_y = 1, local_size_z = 1) in;
layout(set=0, binding=0, std430) restrict readonly buffer A { f16vec4 a[]; } ; layout(set=0, binding=1, std430) restrict buffer B { float s; uint64_t t; float16_t h[]; };
void main() { f16vec4 v = a[gl_GlobalInvocationID.x]; float16_t d = dot(v, v) * 2.0hf; h[gl_GlobalInvocationID.x] = d; atomicAdd(s, float(d)); t = 0x1FFFFFFFFul + uint64_t(gl_LocalInvocationIndex); int64_t k = -5L; }
