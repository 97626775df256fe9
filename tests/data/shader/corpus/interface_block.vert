#version 450
#extension GL_EXT_scalar_block_layout : enable
layout(location = 0) in vec4 a_Position; layout(location=1) in vec4 a_Color;
layout(location = 0) out VertexData { vec4 color; flat int id; noperspective vec2 uv; } v_out;
layout(binding = 0) uniform Matrices { mat4 mvp[2]; mat3 normal; ivec4 flags; } mats;
void main() { v_out.color = a_Color; v_out.id = gl_InstanceIndex; v_out.uv = a_Position.xy; gl_Position = mats.mvp[gl_VertexIndex % 2] * a_Position; gl_PointSize = 2.0; }
