#version 450
layout(location = 0) in GS { vec3 world; vec3 normal; vec2 uv; flat vec4 box; flat uint axis; } gs;
layout(binding = 1, r32ui) uniform coherent volatile uimage3D voxels;
layout(binding = 2) uniform sampler2D albedo;
layout(std140, binding = 0) uniform Grid { mat4 views[3]; vec3 minimum; float size; uvec3 cells; } grid;

// Moving mean of colours of eight bits, the count in the last of them.
void add(ivec3 at, vec4 value) {
    value.rgb *= 255.0;
    uint next = packUnorm4x8(vec4(value.rgb / 255.0, 1.0 / 255.0));
    uint last = 0u, now;
    for(int tries = 0; tries < 64; tries++) {
        now = imageAtomicCompSwap(voxels, at, last, next);
        if(now == last) break;
        last = now;
        vec4 old = unpackUnorm4x8(now) * 255.0;
        vec3 sum = old.rgb * old.a + value.rgb;
        float count = old.a + 1.0;
        next = packUnorm4x8(vec4(sum / count, count) / 255.0);
    }
}

void main() {
    vec3 cell = (gs.world - grid.minimum) / grid.size;
    if(any(lessThan(cell, vec3(0.0))) || any(greaterThanEqual(uvec3(cell), grid.cells))) discard;
    vec4 c = texture(albedo, gs.uv);
    c.rgb *= max(normalize(gs.normal).y, 0.1);
    add(ivec3(cell), c);
}
