#version 450
#extension GL_EXT_shader_explicit_arithmetic_types_float16 : require
#extension GL_EXT_shader_16bit_storage : require
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;
layout(binding = 0) uniform sampler2D image;
layout(std430, binding = 1) readonly buffer Kernel { f16vec4 taps[8]; float16_t scale; };

f16vec3 curve(f16vec3 x) {
    const float16_t a = float16_t(2.5), b = float16_t(0.03);
    return clamp(x * (a * x + b) / (x * (a * x + float16_t(0.6)) + b), float16_t(0.0), float16_t(1.0));
}

void main() {
    f16vec4 sum = f16vec4(0.0);
    for(int i = 0; i < 8; i++) {
        f16vec2 offset = taps[i].xy * scale;
        sum += f16vec4(texture(image, uv + vec2(offset))) * taps[i].z;
    }
    f16vec3 c = curve(sum.rgb);
    float16_t l = dot(c, f16vec3(0.3, 0.59, 0.11));
    color = vec4(mix(f16vec3(l), c, float16_t(1.2)), 1.0);
}
