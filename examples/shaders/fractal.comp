// A Julia set with smooth colours, four samples to a pixel.

layout(local_size_x = 8, local_size_y = 8) in;

layout(std140, binding = 0) uniform Parameters { uint width; uint height; uint frame; float time; };
layout(std430, binding = 1) buffer Output { uint pixels[]; };

#ifndef STEPS
#define STEPS 160u
#endif

const vec2 constant = vec2(-0.7885, 0.1405);

// Escape time with a fractional part, so that the bands of equal counts blend into each other.
float escape(vec2 z) {
    for(uint i = 0u; i < STEPS; i++) {
        z = vec2(z.x * z.x - z.y * z.y, 2.0 * z.x * z.y) + constant;
        float d = dot(z, z);
        if(d > 256.0) return max(float(i) + 4.0 - log2(log2(d) * 0.5), 0.01);
    }
    return 0.0;
}

vec3 palette(float t) {
    return vec3(0.5) + vec3(0.5, 0.45, 0.4) * cos(6.2831853 * (vec3(0.02, 0.026, 0.034) * t + vec3(0.5, 0.56, 0.62)));
}

void main() {
    uvec2 id = gl_GlobalInvocationID.xy;
    if(id.x >= width || id.y >= height) return;
    vec3 color = vec3(0.0);
    for(uint s = 0u; s < 4u; s++) {
        vec2 offset = vec2(float(s & 1u), float(s >> 1)) * 0.5 + 0.25;
        vec2 p = (vec2(id) + offset) / float(height) * 2.0 - vec2(float(width) / float(height), 1.0);
        float t = escape(p * 1.25);
        if(t > 0.0) color += palette(t);
    }
    pixels[id.y * width + id.x] = packUnorm4x8(vec4(color * 0.25, 1.0));
}
