#version 450
layout(location = 0) flat out ivec3 s_index;
layout(location = 1) noperspective out vec2 s_plain;
layout(location = 2) centroid out vec4 s_color;
void main() {
    vec2 p = vec2(float(gl_VertexIndex % 3 & 1), float(gl_VertexIndex % 3 >> 1)) * 1.5 - vec2(0.9 - 0.3 * float(gl_InstanceIndex));
    float w = 1.0 + 0.5 * float(gl_VertexIndex % 3);
    gl_Position = vec4(p * w, 0.25 * w, w);
    s_index = ivec3(gl_VertexIndex / 3, gl_InstanceIndex, gl_VertexIndex);
    s_plain = p;
    s_color = vec4(p, 1.0, w);
}
