#version 450

layout(local_size_x = GROUP_SIZE) in;
layout(binding = 0, std430) buffer Buffer { uint data[]; };

#import "value.h"
#import "value.h"

void main() {
	data[gl_GlobalInvocationID.x] = getValue(gl_GlobalInvocationID.x);
}
