#version 450
layout(local_size_x = 8, local_size_y = 8, local_size_z = 6) in;
layout(binding = 0) uniform sampler2D panorama;
layout(binding = 1, rgba16f) uniform writeonly imageCube cube;
layout(binding = 2, r11f_g11f_b10f) uniform writeonly imageCubeArray many;

vec3 toward(uint face, vec2 p) {
    switch(face) {
    case 0u: return vec3(1.0, -p.y, -p.x);
    case 1u: return vec3(-1.0, -p.y, p.x);
    case 2u: return vec3(p.x, 1.0, p.y);
    case 3u: return vec3(p.x, -1.0, -p.y);
    case 4u: return vec3(p.x, -p.y, 1.0);
    default: return vec3(-p.x, -p.y, -1.0);
    }
}

void main() {
    uvec3 id = gl_GlobalInvocationID;
    vec2 size = vec2(imageSize(cube).xy);
    vec3 d = normalize(toward(id.z, (vec2(id.xy) + 0.5) / size * 2.0 - 1.0));
    vec2 uv = vec2(atan(d.z, d.x) * 0.15915494 + 0.5, acos(d.y) * 0.31830989);
    vec4 c = textureLod(panorama, uv, 0.0);
    imageStore(cube, ivec3(id), c);
    imageStore(many, ivec3(id.xy, 6u + id.z), c * c);
}
