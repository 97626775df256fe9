#version 450
layout(local_size_x = 64) in;
// Spherical harmonics of nine terms for each probe.
struct Harmonics { vec4 terms[9]; };
layout(std430, binding = 0) buffer Probes { Harmonics probes[]; };
layout(binding = 1) uniform samplerCubeArray cubes;
shared vec3 sums[9][64];

void basis(vec3 d, out float y[9]) {
    y[0] = 0.282095;
    y[1] = 0.488603 * d.y;
    y[2] = 0.488603 * d.z;
    y[3] = 0.488603 * d.x;
    y[4] = 1.092548 * d.x * d.y;
    y[5] = 1.092548 * d.y * d.z;
    y[6] = 0.315392 * (3.0 * d.z * d.z - 1.0);
    y[7] = 1.092548 * d.x * d.z;
    y[8] = 0.546274 * (d.x * d.x - d.y * d.y);
}

void main() {
    uint lane = gl_LocalInvocationIndex, probe = gl_WorkGroupID.x;
    vec3 acc[9];
    for(int k = 0; k < 9; k++) acc[k] = vec3(0.0);
    for(uint i = lane; i < 1024u; i += 64u) {
        float z = 1.0 - (2.0 * float(i) + 1.0) / 1024.0, r = sqrt(1.0 - z * z), phi = float(i) * 2.39996323;
        vec3 d = vec3(r * cos(phi), r * sin(phi), z);
        float y[9];
        basis(d, y);
        vec3 c = textureLod(cubes, vec4(d, float(probe)), 2.0).rgb;
        for(int k = 0; k < 9; k++) acc[k] += c * y[k];
    }
    for(int k = 0; k < 9; k++) sums[k][lane] = acc[k];
    barrier();
    if(lane < 9u) {
        vec3 s = vec3(0.0);
        for(int i = 0; i < 64; i++) s += sums[lane][i];
        probes[probe].terms[lane] = vec4(s * (12.566371 / 1024.0), 0.0);
    }
}
