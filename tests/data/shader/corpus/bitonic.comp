#version 450
layout(local_size_x = 128) in;
layout(std430, binding = 0) buffer Keys { uvec2 keys[]; };
layout(push_constant) uniform Push { uint h; uint mode; };
shared uvec2 local[gl_WorkGroupSize.x * 2u];

void compareSwap(inout uvec2 a, inout uvec2 b) {
    if(a.x > b.x) {
        uvec2 t = a;
        a = b;
        b = t;
    }
}

void flip(uint height) {
    uint t = gl_LocalInvocationID.x;
    barrier();
    uint half_ = height >> 1;
    uvec2 indices = uvec2(height * ((2u * t) / height)) + uvec2(t % half_, height - 1u - (t % half_));
    compareSwap(local[indices.x], local[indices.y]);
}

void disperse(in uint height) {
    uint t = gl_LocalInvocationID.x;
    for(; height > 1u; height /= 2u) {
        barrier();
        uint half_ = height / 2u;
        uint x = ((2u * t) / height) * height + (t % half_);
        compareSwap(local[x], local[x + half_]);
    }
}

void main() {
    uint t = gl_LocalInvocationID.x;
    uint offset = gl_WorkGroupSize.x * 2u * gl_WorkGroupID.x;
    if(mode <= 1u) {
        local[t * 2u] = keys[offset + t * 2u];
        local[t * 2u + 1u] = keys[offset + t * 2u + 1u];
    }
    switch(mode) {
    case 0u:
        for(uint hh = 2u; hh <= h; hh <<= 1) {
            flip(hh);
            disperse(hh / 2u);
        }
        break;
    case 1u:
        disperse(h);
        break;
    case 2u: {
        uint q = (2u * gl_GlobalInvocationID.x) / h;
        uint k = gl_GlobalInvocationID.x % (h / 2u);
        compareSwap(keys[q * h + k], keys[q * h + h - k - 1u]);
        return;
    }
    }
    barrier();
    keys[offset + t * 2u] = local[t * 2u];
    keys[offset + t * 2u + 1u] = local[t * 2u + 1u];
}
