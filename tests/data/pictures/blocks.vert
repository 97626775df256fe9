#version 450
layout(location = 0) out Surface {
    vec3 normal;
    vec2 texcoord;
    mat2 basis;
} surface;
void main() {
    vec2 p = vec2(float((gl_VertexIndex & 1) * 4), float((gl_VertexIndex >> 1) * 4));
    gl_Position = vec4(p - 1.0, 0.0, 1.0);
    surface.normal = vec3(p, 1.0);
    surface.texcoord = p.yx;
    surface.basis = mat2(p, -p.y, p.x);
}
