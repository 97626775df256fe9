#version 450
precision highp float;
precision mediump int;

layout(location = 0) in highp vec2 uv;
layout(location = 0) out mediump vec4 color;
layout(set = 0, binding = 0) uniform sampler2D hdr;
layout(set = 0, binding = 1) uniform sampler3D lut;

layout(std140, set = 0, binding = 2) uniform Grade {
    vec3 lift;
    vec3 gamma;
    vec3 gain;
    float saturation;
    int curve;
};

vec3 aces(vec3 x) {
    const float a = 2.51, b = 0.03, c = 2.43, d = 0.59, e = 0.14;
    return clamp((x * (a * x + b)) / (x * (c * x + d) + e), 0.0, 1.0);
}

vec3 reinhard(vec3 x) { return x / (1.0 + x); }

void main() {
    vec3 x = texture(hdr, uv).rgb;
    switch(curve) {
    case 0:
        x = aces(x);
        break;
    case 1:
        x = reinhard(x);
        break;
    case 2: {
        float l = dot(x, vec3(0.2126, 0.7152, 0.0722));
        x *= reinhard(vec3(l)) / l;
        break;
    }
    default:
        x = clamp(x, vec3(0), vec3(1));
    }
    x = pow(max(x * gain + lift * (1.0 - x), 0.0), 1.0 / gamma);
    float grey = dot(x, vec3(0.299, 0.587, 0.114));
    x = mix(vec3(grey), x, saturation);
    float size = float(textureSize(lut, 0).x);
    x = textureLod(lut, x * ((size - 1.0) / size) + 0.5 / size, 0.0).rgb;
    color = vec4(x, 1.0);
}
