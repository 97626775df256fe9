#version 450
#extension GL_EXT_samplerless_texture_functions : enable
layout(location = 0) in vec4 at;
layout(location = 0) out vec4 color;
layout(set = 0, binding = 0) uniform sampler nearest;
layout(set = 0, binding = 1) uniform sampler linear;
layout(set = 0, binding = 2) uniform samplerShadow compare;
layout(set = 1, binding = 0) uniform texture2D flat_;
layout(set = 1, binding = 1) uniform texture2DArray layered;
layout(set = 1, binding = 2) uniform textureCube cube;
layout(set = 1, binding = 3) uniform texture3D volume;
layout(set = 1, binding = 4) uniform utexture2D ids;
layout(set = 1, binding = 5) uniform itexture3D offsets;
layout(set = 1, binding = 6) uniform textureCubeArray probes;
layout(set = 1, binding = 7) uniform texture2DMS samples;

vec4 both(texture2D t, sampler a, sampler b, vec2 p) { return texture(sampler2D(t, a), p) - texture(sampler2D(t, b), p); }

void main() {
    color = both(flat_, nearest, linear, at.xy);
    color += texture(sampler2DArray(layered, linear), at.xyz);
    color += texture(samplerCube(cube, linear), at.xyz) * texture(sampler3D(volume, linear), at.xyz);
    color += vec4(texelFetch(usampler2D(ids, nearest), ivec2(at.xy), 0));
    color += vec4(texelFetch(isampler3D(offsets, nearest), ivec3(at.xyz), 0));
    color += texture(samplerCubeArray(probes, linear), at);
    color += texelFetch(samples, ivec2(at.xy), 2);
    color.a += texture(sampler2DShadow(flat_, compare), at.xyz);
    color.a += texture(sampler2DArrayShadow(layered, compare), at);
    color.a += textureLod(sampler2DShadow(flat_, compare), at.xyz, 0.0);
}
