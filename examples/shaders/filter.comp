// An edge-preserving smoothing filter with a dark line along the edges that are left: a photograph turns into a drawing.
// Compiled with -D RADIUS=n for another reach.

layout(local_size_x = 8, local_size_y = 8) in;

layout(std140, binding = 0) uniform Parameters { uint width; uint height; uint frame; float time; };
layout(std430, binding = 1) buffer Output { uint pixels[]; };
layout(std430, binding = 2) readonly buffer Input { uint input_pixels[]; };

#ifndef RADIUS
#define RADIUS 4
#endif

vec3 load(ivec2 p) {
    p = clamp(p, ivec2(0), ivec2(int(width) - 1, int(height) - 1));
    return unpackUnorm4x8(input_pixels[uint(p.y) * width + uint(p.x)]).xyz;
}

float luma(vec3 c) { return dot(c, vec3(0.299, 0.587, 0.114)); }

void main() {
    ivec2 id = ivec2(gl_GlobalInvocationID.xy);
    if(id.x >= int(width) || id.y >= int(height)) return;

    // Bilateral mean: near neighbours of a similar colour count most.
    vec3 center = load(id);
    vec3 sum = vec3(0.0);
    float weights = 0.0;
    for(int y = -RADIUS; y <= RADIUS; y++) {
        for(int x = -RADIUS; x <= RADIUS; x++) {
            vec3 c = load(id + ivec2(x, y));
            vec3 d = c - center;
            float w = exp(-float(x * x + y * y) / float(RADIUS * RADIUS) - dot(d, d) * 40.0);
            sum += c * w;
            weights += w;
        }
    }
    vec3 color = sum / weights;

    // Sobel gradient of the brightness.
    float gx = 0.0, gy = 0.0;
    for(int i = -1; i <= 1; i++) {
        float k = (i == 0) ? 2.0 : 1.0;
        gx += k * (luma(load(id + ivec2(1, i))) - luma(load(id + ivec2(-1, i))));
        gy += k * (luma(load(id + ivec2(i, 1))) - luma(load(id + ivec2(i, -1))));
    }
    float edge = smoothstep(0.25, 0.9, sqrt(gx * gx + gy * gy));
    color = floor(color * 10.0 + 0.5) / 10.0 * (1.0 - edge * 0.85);
    pixels[uint(id.y) * width + uint(id.x)] = packUnorm4x8(vec4(color, 1.0));
}
