#version 450
out gl_PerVertex { vec4 gl_Position; float gl_PointSize; float gl_ClipDistance[]; };
layout(location=0) in vec3 p; layout(binding=0) uniform U { vec4 planes[2]; mat4x3 bones[4]; mat2 tt; float w[3]; } u;
void main() { vec4 v = vec4(u.bones[1] * vec4(p, 1), 1); gl_Position = v; gl_ClipDistance[0] = dot(v, u.planes[0]); gl_ClipDistance[1] = dot(v, u.planes[1]); gl_PointSize = u.w[2]; }
