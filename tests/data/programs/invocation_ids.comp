// built-in ids of a work group of three dimensions
// expect: 00000015 000003fd 000007e5 00000bcd 00000fb5 0000139d 00001785 00001b6d 00001fb9 000023a1 00002789 00002b71
// expect: 00002f59 00003341 00003729 00003b11
#version 450
layout(local_size_x = 4, local_size_y = 2, local_size_z = 2) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    uint flat_id = gl_LocalInvocationID.x + gl_LocalInvocationID.y * 4u + gl_LocalInvocationID.z * 8u;
    results[flat_id] = gl_LocalInvocationIndex * 1000u + gl_GlobalInvocationID.z * 100u + gl_WorkGroupSize.y * 10u + gl_NumWorkGroups.x;
}
