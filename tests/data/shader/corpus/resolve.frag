#version 450
layout(location = 0) out vec4 color;
layout(binding = 0) uniform sampler2DMS image;
layout(binding = 1) uniform usampler2DMS ids;
layout(binding = 2) uniform sampler2DMSArray layers;
layout(push_constant) uniform Push { int layer; };

void main() {
    ivec2 p = ivec2(gl_FragCoord.xy);
    int n = textureSamples(image);
    vec4 sum = vec4(0.0);
    float total = 0.0;
    uint first = texelFetch(ids, p, 0).x;
    bool plain = true;
    for(int i = 0; i < n; i++) {
        vec4 c = texelFetch(image, p, i);
        plain = plain && texelFetch(ids, p, i).x == first;
        float w = 1.0 / (1.0 + max(c.r, max(c.g, c.b)));
        sum += c * w;
        total += w;
    }
    color = plain ? texelFetch(image, p, 0) : sum / total;
    color += texelFetch(layers, ivec3(p, layer), gl_SampleID);
}
