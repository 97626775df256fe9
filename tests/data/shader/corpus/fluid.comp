#version 450
layout(local_size_x = 8, local_size_y = 8, local_size_z = 8) in;
layout(binding = 0) uniform sampler3D velocity;
layout(binding = 1, rgba16f) uniform writeonly image3D next;
layout(binding = 2, r32f) uniform image3D pressure;
layout(binding = 3) uniform Sim { float dt; float dissipation; ivec3 size; int pass_; } sim;

vec3 at(ivec3 p) { return texelFetch(velocity, clamp(p, ivec3(0), sim.size - 1), 0).xyz; }

float divergence(ivec3 p) {
    return 0.5 * (at(p + ivec3(1, 0, 0)).x - at(p - ivec3(1, 0, 0)).x + at(p + ivec3(0, 1, 0)).y -
                  at(p - ivec3(0, 1, 0)).y + at(p + ivec3(0, 0, 1)).z - at(p - ivec3(0, 0, 1)).z);
}

void main() {
    ivec3 p = ivec3(gl_GlobalInvocationID);
    if(any(greaterThanEqual(p, sim.size))) return;
    if(sim.pass_ == 0) {
        vec3 back = (vec3(p) + 0.5 - sim.dt * at(p)) / vec3(sim.size);
        imageStore(next, p, vec4(textureLod(velocity, back, 0).xyz * sim.dissipation, 0));
    } else if(sim.pass_ == 1) {
        float sum = -divergence(p);
        for(int axis = 0; axis < 3; axis++) {
            ivec3 d = ivec3(0);
            d[axis] = 1;
            sum += imageLoad(pressure, max(p - d, 0)).r + imageLoad(pressure, min(p + d, sim.size - 1)).r;
        }
        imageStore(pressure, p, vec4(sum / 6.0));
    } else {
        vec3 g;
        for(int axis = 0; axis < 3; axis++) {
            ivec3 d = ivec3(equal(ivec3(axis), ivec3(0, 1, 2)));
            g[axis] = imageLoad(pressure, p + d).r - imageLoad(pressure, p - d).r;
        }
        imageStore(next, p, vec4(at(p) - 0.5 * g, 1));
    }
}
