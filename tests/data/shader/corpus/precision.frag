#version 450
precision mediump float;
precision highp int;
layout(set = 0, binding = 0) uniform lowp sampler2D tex;
layout(location = 0) in highp vec2 uv;
layout(location = 0) out mediump vec4 color;
layout(set = 0, binding = 1, std140) uniform A { vec4 a; layout(row_major) mat4 m; vec4 arr[3]; };
void main() { color = texture(tex, uv); }
