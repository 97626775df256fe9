#version 450
layout(local_size_x = 8, local_size_y = 8, local_size_z = 1) in;
layout(r32f, binding = 0) uniform image3D target;
uint hash(uint x) { x += (x << 10u); x ^= (x >> 6u); x += (x << 3u); x ^= (x >> 11u); x += (x << 15u); return x; }
float random(float f) { const uint mantissaMask = 0x007FFFFFu; const uint one = 0x3F800000u; uint h = hash(floatBitsToUint(f)); h &= mantissaMask; h |= one; float r2 = uintBitsToFloat(h); return r2 - 1.0; }
vec3 mod289(vec3 x) { return x - floor(x * (1.0 / 289.0)) * 289.0; }
vec4 permute(vec4 x) { return mod(((x * 34.0) + 1.0) * x, 289.0); }
float noise(vec3 p) {
    vec3 a = floor(p); vec3 d = p - a; d = d * d * (3.0 - 2.0 * d);
    vec4 b = a.xxyy + vec4(0.0, 1.0, 0.0, 1.0);
    vec4 k1 = permute(b.xyxy); vec4 k2 = permute(k1.xyxy + b.zzww);
    vec4 c = k2 + a.zzzz; vec4 k3 = permute(c); vec4 k4 = permute(c + 1.0);
    vec4 o1 = fract(k3 * (1.0 / 41.0)); vec4 o2 = fract(k4 * (1.0 / 41.0));
    vec4 o3 = o2 * d.z + o1 * (1.0 - d.z); vec2 o4 = o3.yw * d.x + o3.xz * (1.0 - d.x);
    return o4.y * d.y + o4.x * (1.0 - d.y);
}
void main() {
    ivec3 p = ivec3(gl_GlobalInvocationID);
    float v = 0.0, amplitude = 0.5;
    vec3 q = vec3(p) * 0.1;
    for(int i = 0; i < 5; ++i) { v += amplitude * noise(q); q = q * 2.0 + vec3(100); amplitude *= 0.5; }
    imageStore(target, p, vec4(v + random(float(p.x)) * 0.01));
}
