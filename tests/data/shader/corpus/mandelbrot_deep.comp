#version 450
layout(local_size_x = 8, local_size_y = 8) in;
layout(binding = 0, rgba8) uniform writeonly image2D picture;
layout(push_constant) uniform View { dvec2 center; double scale; uint limit; };

void main() {
    ivec2 size = imageSize(picture);
    ivec2 p = ivec2(gl_GlobalInvocationID.xy);
    if(p.x >= size.x || p.y >= size.y) return;
    dvec2 c = center + (dvec2(p) / dvec2(size) - 0.5) * scale;
    dvec2 z = dvec2(0.0);
    uint n = 0u;
    for(; n < limit; n++) {
        z = dvec2(z.x * z.x - z.y * z.y + c.x, 2.0 * z.x * z.y + c.y);
        if(dot(z, z) > 4.0) break;
    }
    vec3 color = (n == limit) ? vec3(0.0) : 0.5 + 0.5 * cos(vec3(0.0, 2.1, 4.2) + 0.1 * float(n));
    imageStore(picture, p, vec4(color, 1.0));
}
