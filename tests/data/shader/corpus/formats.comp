#version 450
layout(local_size_x = 4) in;
layout(binding = 0, rgba32i) uniform iimage2D a;
layout(binding = 1, rg16ui) uniform uimage2DArray b;
layout(binding = 2, r32f) uniform imageBuffer c;
layout(binding = 3, rgb10_a2) uniform image3D d;
layout(binding = 4, rgba16) uniform image2D e;
layout(binding = 5, r16i) uniform iimage3D f;
layout(binding = 6) uniform writeonly image2D g;
layout(binding = 7, r32i) uniform iimageCube h;

void main() {
    int i = int(gl_GlobalInvocationID.x);
    ivec4 x = imageLoad(a, ivec2(i, 0)) << 1;
    uvec4 y = imageLoad(b, ivec3(i, 0, 1));
    imageStore(a, ivec2(i, 1), -x);
    imageStore(b, ivec3(0, i, imageSize(b).z - 1), y ^ uvec4(x));
    imageStore(c, i % imageSize(c), vec4(i));
    imageStore(d, ivec3(i), imageLoad(e, ivec2(i)));
    imageStore(f, ivec3(i), ivec4(imageAtomicAdd(h, ivec3(0, 0, i), x.x)));
    imageStore(g, ivec2(i), vec4(x) / 255.0);
}
