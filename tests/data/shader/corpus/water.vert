#version 450
layout(location = 0) in vec2 grid;
layout(location = 0) out vec3 world;
layout(location = 1) out vec3 normal;
layout(location = 2) noperspective out float foam;

struct Wave { vec2 direction; float steepness, wavelength; };

layout(binding = 0) uniform Water {
    mat4 viewProjection;
    Wave waves[3];
    float time;
} water;

vec3 gerstner(Wave w, vec3 p, inout vec3 tangent, inout vec3 binormal) {
    float k = 2.0 * 3.14159 / w.wavelength;
    float c = sqrt(9.8 / k);
    vec2 d = normalize(w.direction);
    float f = k * (dot(d, p.xz) - c * water.time);
    float a = w.steepness / k;
    tangent += vec3(-d.x * d.x * w.steepness * sin(f), d.x * w.steepness * cos(f), -d.x * d.y * w.steepness * sin(f));
    binormal += vec3(-d.x * d.y * w.steepness * sin(f), d.y * w.steepness * cos(f), -d.y * d.y * w.steepness * sin(f));
    return vec3(d.x * (a * cos(f)), a * sin(f), d.y * (a * cos(f)));
}

void main() {
    vec3 tangent = vec3(1, 0, 0), binormal = vec3(0, 0, 1);
    vec3 p = vec3(grid.x, 0.0, grid.y);
    vec3 q = p;
    for(int i = 0; i < 3; i++) q += gerstner(water.waves[i], p, tangent, binormal);
    world = q;
    normal = normalize(cross(binormal, tangent));
    foam = smoothstep(0.4, 0.9, 1.0 - normal.y);
    gl_Position = water.viewProjection * vec4(q, 1.0);
}
