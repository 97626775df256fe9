#version 450
layout(location = 0) in Surface {
    vec3 normal;
    vec2 texcoord;
    mat2 basis;
} surface;
layout(location = 0) out vec4 out_color;
void main() { out_color = vec4(normalize(surface.normal).xy, surface.basis * surface.texcoord); }
