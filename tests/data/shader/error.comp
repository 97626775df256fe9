#version 450
// The include of line 7 has an error in its line 3.

layout(local_size_x = 64) in;
layout(binding = 0, std430) buffer Buffer { uint data[]; };

#include "error.h"

void main() {
	data[gl_GlobalInvocationID.x] = getValue();
}
