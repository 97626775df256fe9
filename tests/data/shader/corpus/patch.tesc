#version 450
layout(vertices=3) out; layout(location=0) in vec3 n[]; layout(location=0) out vec3 on[]; struct P { float a; vec3 b[2]; }; layout(location=1) patch out P pp; layout(location=5) out OB { vec2 uv; } ob[];
layout(push_constant) uniform T { float level; } ;
void main() { on[gl_InvocationID] = n[gl_InvocationID]; ob[gl_InvocationID].uv = n[gl_InvocationID].xy; gl_out[gl_InvocationID].gl_Position = gl_in[gl_InvocationID].gl_Position; if (gl_InvocationID == 0) { gl_TessLevelOuter[0] = gl_TessLevelOuter[1] = gl_TessLevelOuter[2] = level; gl_TessLevelInner[0] = level; pp.a = 1.0; pp.b[1] = vec3(2.0); } barrier(); }
