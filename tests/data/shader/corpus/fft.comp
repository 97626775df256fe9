#version 450
layout(local_size_x = 64) in;
layout(std430, binding = 0) readonly buffer In { vec2 source[]; };
layout(std430, binding = 1) writeonly buffer Out { vec2 target[]; };
layout(push_constant) uniform Push { uint p; uint size; float direction; };

vec2 times(vec2 a, vec2 b) { return vec2(a.x * b.x - a.y * b.y, dot(a, b.yx)); }
vec2 twiddle(float k, float n) {
    float a = direction * 6.283185307179586 * k / n;
    return vec2(cos(a), sin(a));
}

void butterfly(inout vec2 a, inout vec2 b) {
    vec2 t = a;
    a += b;
    b = t - b;
}

// Radix four, in the order of Stockham.
void main() {
    uint i = gl_GlobalInvocationID.x;
    uint quarter = size >> 2;
    if(i >= quarter) return;
    uint k = i & (p - 1u);
    vec2 v[4];
    for(uint j = 0u; j < 4u; ++j) v[j] = times(source[i + j * quarter], twiddle(float(j * k), float(4u * p)));
    butterfly(v[0], v[2]);
    butterfly(v[1], v[3]);
    v[3] = direction * vec2(-v[3].y, v[3].x);
    butterfly(v[0], v[1]);
    butterfly(v[2], v[3]);
    uint j = ((i - k) << 2) + k;
    target[j] = v[0];
    target[j + p] = v[2];
    target[j + 2u * p] = v[1];
    target[j + 3u * p] = v[3];
}
