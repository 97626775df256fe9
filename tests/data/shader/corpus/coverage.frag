#version 450
layout(location = 0) sample in vec2 uv;
layout(location = 1) centroid in vec4 tint;
layout(location = 2) noperspective centroid in float fade;
layout(location = 0, index = 0) out vec4 color;
layout(location = 0, index = 1) out vec4 factor;
layout(binding = 0) uniform sampler2D cut;

void main() {
    float a = texture(cut, uv).a * fade;
    vec2 shift = gl_SamplePosition - 0.5;
    float b = interpolateAtOffset(uv, shift).x - interpolateAtCentroid(uv).x + interpolateAtSample(uv, gl_SampleID).y;
    int mask = 0;
    for(int i = 0; i < 4; i++)
        if(a + b > (float(i) + 0.5) / 4.0) mask |= 1 << i;
    gl_SampleMask[0] = mask & gl_SampleMaskIn[0];
    color = tint;
    factor = vec4(a);
}
