#version 450
layout(local_size_x = 16, local_size_y = 16) in;
layout(set = 0, binding = 0) uniform sampler2DArray source;
layout(set = 0, binding = 1, rgba16f) uniform writeonly image2DArray levels[4];
layout(push_constant) uniform Push { uvec2 size; uint count; };
shared vec4 cache[16][16];

void main() {
    uvec2 l = gl_LocalInvocationID.xy;
    ivec3 p = ivec3(gl_GlobalInvocationID);
    vec4 c = textureLod(source, vec3((vec2(p.xy) + 0.5) / vec2(size), float(p.z)), 0.0);
    imageStore(levels[0], p, c);
    cache[l.y][l.x] = c;
    for(uint level = 1u, step_ = 2u; level < count; level++, step_ <<= 1) {
        barrier();
        bool mine = all(equal(l % step_, uvec2(0u)));
        uint half_ = step_ >> 1;
        if(mine) c = (c + cache[l.y][l.x + half_] + cache[l.y + half_][l.x] + cache[l.y + half_][l.x + half_]) * 0.25;
        barrier();
        if(!mine) continue;
        cache[l.y][l.x] = c;
        ivec3 q = ivec3(p.xy >> int(level), p.z);
        if(level == 1u) imageStore(levels[1], q, c);
        else if(level == 2u) imageStore(levels[2], q, c);
        else imageStore(levels[3], q, c);
    }
}
