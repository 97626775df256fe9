#version 450
layout(local_size_x = 16, local_size_y = 8) in;
layout(binding = 0) uniform sampler2D rgb;
layout(binding = 1, r8) uniform writeonly image2D luma;
layout(binding = 2, rg8) uniform writeonly image2D chroma;

const mat3 toYuv = mat3(0.2126, -0.1146, 0.5, 0.7152, -0.3854, -0.4542, 0.0722, 0.5, -0.0458);

void main() {
    ivec2 p = ivec2(gl_GlobalInvocationID.xy) * 2;
    vec3 sum = vec3(0.0);
    for(int i = 0; i < 4; i++) {
        ivec2 q = p + ivec2(i & 1, i >> 1);
        vec3 yuv = toYuv * texelFetch(rgb, q, 0).rgb;
        imageStore(luma, q, vec4(yuv.x * (219.0 / 255.0) + 16.0 / 255.0));
        sum += yuv;
    }
    imageStore(chroma, p / 2, vec4(sum.yz * 0.25 * (224.0 / 255.0) + 128.0 / 255.0, 0.0, 0.0));
}
