#version 450
layout(local_size_x = 32) in;
layout(constant_id = 0) const int COUNT = 4;
layout(constant_id = 1) const float SCALE = 0.5;
layout(constant_id = 2) const bool INVERT = true;
layout(constant_id = 3) const uint MASK = 0xFFu;
const int DOUBLE = COUNT * 2 + 1;
const float HALF_PI = acos(0.0);
const vec3 AXIS = normalize(vec3(1.0, 2.0, 2.0));
const mat2 ROTATION = mat2(cos(0.5), sin(0.5), -sin(0.5), cos(0.5));
const uint FLAGS = (MASK >> 4) | (1u << 5) & ~3u;
layout(std430, binding = 0) buffer Data { float data[]; };
shared float cells[DOUBLE];

void main() {
    uint i = gl_LocalInvocationIndex;
    cells[i % uint(DOUBLE)] = data[i] * SCALE * HALF_PI;
    barrier();
    float x = 0.0;
    for(int k = 0; k < COUNT; k++) x += cells[k];
    vec2 p = ROTATION * vec2(x, AXIS.y);
    if(INVERT && COUNT > 3) p = -p;
    data[i] = p.x + p.y * float(FLAGS);
}
