#version 450
out gl_PerVertex {
    vec4 gl_Position;
    float gl_ClipDistance[2];
};
layout(location = 0) out vec2 s_texcoord;
void main() {
    vec2 p = vec2(float((gl_VertexIndex & 1) * 4), float((gl_VertexIndex >> 1) * 4));
    s_texcoord = p * 0.5;
    gl_Position = vec4(p - 1.0, 0.0, 1.0);
    gl_ClipDistance[0] = p.x - 0.3;
    gl_ClipDistance[1] = 1.5 - p.y;
}
