#version 450
layout(location = 0) in vec3 direction;
layout(location = 0) out vec4 color;
layout(binding = 1) uniform Air { vec3 sun; float haze; vec3 rayleigh; float mie; uint steps; } air;

const float R = 6371e3, TOP = 6471e3;

vec2 sphere(vec3 o, vec3 d, float radius) {
    float b = dot(o, d), c = dot(o, o) - radius * radius;
    float h = b * b - c;
    if(h < 0.0) return vec2(1.0, -1.0);
    h = sqrt(h);
    return vec2(-b - h, -b + h);
}

vec2 density(float height) { return exp(-height / vec2(8.5e3, 1.2e3)); }

void main() {
    vec3 d = normalize(direction);
    vec3 o = vec3(0.0, R + 2.0, 0.0);
    float end = sphere(o, d, TOP).y;
    float size = end / float(air.steps);
    vec2 depth = vec2(0.0);
    vec3 sumR = vec3(0.0), sumM = vec3(0.0);
    for(uint i = 0u; i < air.steps; i++) {
        vec3 p = o + d * (float(i) + 0.5) * size;
        vec2 here = density(length(p) - R) * size;
        depth += here;
        vec2 sun = density(length(p + air.sun * 1e4) - R) * sphere(p, air.sun, TOP).t;
        vec3 fade = exp(-(air.rayleigh * (depth.x + sun.x) + air.mie * 1.1 * (depth.y + sun.y)));
        sumR += fade * here.x;
        sumM += fade * here.y;
    }
    float mu = dot(d, air.sun), g = air.haze;
    float phaseR = 3.0 / (16.0 * 3.14159265) * (1.0 + mu * mu);
    float phaseM = 0.1193662 * ((1.0 - g * g) * (1.0 + mu * mu)) / ((2.0 + g * g) * pow(1.0 + g * g - 2.0 * g * mu, 1.5));
    color = vec4(sumR * air.rayleigh * phaseR + sumM * air.mie * phaseM, 1.0);
}
