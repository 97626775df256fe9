#version 450
layout(location = 0) flat in ivec3 s_index;
layout(location = 1) noperspective in vec2 s_plain;
layout(location = 2) centroid in vec4 s_color;
layout(location = 0) out vec4 out_color;
void main() { out_color = vec4(s_plain, s_color.w, float(s_index.x + s_index.y * 8 + s_index.z * 16)); }
