#version 450
#extension GL_EXT_fragment_shader_barycentric : require
layout(location = 0) in vec3 base;
layout(location = 0) out vec4 color;

float edge(vec3 b, float width) {
    vec3 d = fwidthFine(b);
    vec3 a = smoothstep(vec3(0.0), d * width, b);
    return min(min(a.x, a.y), a.z);
}

void main() {
    float e = edge(gl_BaryCoordEXT, 1.5);
    float f = dFdxCoarse(gl_BaryCoordNoPerspEXT.x) + dFdyCoarse(gl_BaryCoordNoPerspEXT.y);
    color = vec4(mix(vec3(0.0), base, e), 1.0 - abs(f));
}
