#version 450
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in uvec4 joints;
layout(location = 3) in vec4 weights;
layout(location = 0) out vec3 outNormal;
layout(std430, set = 1, binding = 0) readonly buffer Pose { mat2x4 bones[]; } pose;
layout(set = 0, binding = 0) uniform Camera { mat4 viewProjection; } camera;

mat2x4 blend() {
    mat2x4 d0 = pose.bones[joints.x], d1 = pose.bones[joints.y], d2 = pose.bones[joints.z], d3 = pose.bones[joints.w];
    vec3 s = sign(vec3(dot(d0[0], d1[0]), dot(d0[0], d2[0]), dot(d0[0], d3[0])));
    mat2x4 sum = d0 * weights.x + d1 * (s.x * weights.y) + d2 * (s.y * weights.z) + d3 * (s.z * weights.w);
    return sum / length(sum[0]);
}

vec3 rotate(vec4 q, vec3 v) { return v + 2.0 * cross(q.xyz, cross(q.xyz, v) + q.w * v); }

void main() {
    mat2x4 d = blend();
    vec3 shift = 2.0 * (d[0].w * d[1].xyz - d[1].w * d[0].xyz + cross(d[0].xyz, d[1].xyz));
    outNormal = rotate(d[0], normal);
    gl_Position = camera.viewProjection * vec4(rotate(d[0], position) + shift, 1.0);
}
