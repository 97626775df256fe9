#version 450
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;
layout(set = 0, binding = 0) uniform sampler3D shape;
layout(set = 0, binding = 1) uniform sampler2D weather;
layout(set = 0, binding = 2) uniform Cloud {
    mat4 inverseViewProjection;
    vec4 sun;
    float coverage, absorption, time;
    int steps, lightSteps;
} cloud;

float henyey(float c, float g) {
    float g2 = g * g;
    return (1.0 - g2) / (12.566371 * pow(1.0 + g2 - 2.0 * g * c, 1.5));
}

float density(in vec3 p) {
    vec3 q = p * 0.0003 + vec3(cloud.time, 0.0, 0.5 * cloud.time);
    vec4 n = textureLod(shape, q, 0.0);
    float fbm = dot(n.gba, vec3(0.625, 0.25, 0.125));
    float height = clamp((p.y - 1500.0) / 2500.0, 0.0, 1.0);
    float cover = textureLod(weather, p.xz * 1e-5, 0.0).r * cloud.coverage;
    float d = n.r - (1.0 - fbm) * 0.3;
    d *= smoothstep(0.0, 0.2, height) * smoothstep(1.0, 0.6, height);
    return max(d - (1.0 - cover), 0.0);
}

float light(vec3 p) {
    float sum = 0.0, size = 100.0;
    for(int i = 0; i < cloud.lightSteps; ++i, size *= 1.5) {
        p += cloud.sun.xyz * size;
        sum += density(p) * size;
    }
    return exp(-sum * cloud.absorption) + 0.5 * exp(-0.25 * sum * cloud.absorption);
}

void main() {
    vec4 a = cloud.inverseViewProjection * vec4(uv * 2.0 - 1.0, 0.0, 1.0);
    vec4 b = cloud.inverseViewProjection * vec4(uv * 2.0 - 1.0, 1.0, 1.0);
    vec3 origin = a.xyz / a.w, direction = normalize(b.xyz / b.w - origin);
    if(direction.y < 0.01) {
        color = vec4(0.0, 0.0, 0.0, 1.0);
        return;
    }
    float t = (1500.0 - origin.y) / direction.y, end = (4000.0 - origin.y) / direction.y;
    float size = (end - t) / float(cloud.steps), through = 1.0;
    vec3 energy = vec3(0);
    float phase = mix(henyey(dot(direction, cloud.sun.xyz), 0.8), henyey(dot(direction, cloud.sun.xyz), -0.2), 0.5);
    do {
        vec3 p = origin + direction * t;
        float d = density(p);
        if(d > 0.0) {
            energy += d * size * through * light(p) * phase * cloud.sun.w;
            through *= exp(-d * size * cloud.absorption);
            if(through < 0.01) break;
        }
        t += size;
    } while(t < end);
    color = vec4(energy, through);
}
