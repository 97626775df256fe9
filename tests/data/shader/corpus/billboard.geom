#version 450
layout (points) in; layout (triangle_strip) out; layout (max_vertices = 4) out;
layout(location = 0) in VS_OUT { vec4 color; float size; } gs_in[1]; layout(location = 0) out vec4 color; layout(location = 1) out vec2 uv;
layout(binding = 0) uniform U { mat4 p; };
void emit(vec4 c, vec2 o) { gl_Position = p * (c + vec4(o * gs_in[0].size, 0, 0)); uv = o * 0.5 + 0.5; color = gs_in[0].color; EmitVertex(); }
void main() { vec4 c = gl_in[0].gl_Position; emit(c, vec2(-1)); emit(c, vec2(1, -1)); emit(c, vec2(-1, 1)); emit(c, vec2(1)); EndPrimitive(); }
