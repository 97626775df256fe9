#version 450
layout(location = 0) in vec3 world;
layout(location = 1) in vec3 normal;
layout(location = 0) out vec4 color;
layout(set = 0, binding = 0) uniform sampler3D levels[6];
layout(set = 0, binding = 1) uniform Grid { vec3 minimum; float size; float cell; };

vec4 sampleAniso(vec3 p, vec3 d, float lod) {
    vec3 w = d * d;
    ivec3 face = ivec3(lessThan(d, vec3(0.0))) + ivec3(0, 2, 4);
    vec4 r = vec4(0.0);
    for(int i = 0; i < 3; i++) {
        if(i == 0) r += w.x * (face.x == 0 ? textureLod(levels[0], p, lod) : textureLod(levels[1], p, lod));
        if(i == 1) r += w.y * (face.y == 2 ? textureLod(levels[2], p, lod) : textureLod(levels[3], p, lod));
        if(i == 2) r += w.z * (face.z == 4 ? textureLod(levels[4], p, lod) : textureLod(levels[5], p, lod));
    }
    return r;
}

vec4 cone(vec3 d, float tanHalf) {
    vec4 acc = vec4(0.0);
    float t = cell;
    while(t < size && acc.a < 0.95) {
        float width = max(cell, 2.0 * tanHalf * t);
        vec4 v = sampleAniso((world + d * t - minimum) / size, d, log2(width / cell));
        acc += (1.0 - acc.a) * v;
        t += width * 0.5;
    }
    return acc;
}

void main() {
    vec3 n = normalize(normal);
    vec3 t = normalize(cross(n, abs(n.y) > 0.9 ? vec3(1.0, 0.0, 0.0) : vec3(0.0, 1.0, 0.0)));
    vec3 b = cross(n, t);
    color = cone(n, 0.577) * 0.25;
    for(float a = 0.0; a < 6.2; a += 1.2566371) color += cone(n * 0.5 + 0.866 * (t * cos(a) + b * sin(a)), 0.577) * 0.15;
}
