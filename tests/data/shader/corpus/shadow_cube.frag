#version 450
layout(location = 0) in vec4 inPos;
layout(std140, binding = 0) uniform Faces {
    mat4 viewProjection[6];
    vec4 light; // w: far
} faces;
layout(depth_greater) out float gl_FragDepth;

void main() {
    float d = length(inPos.xyz - faces.light.xyz) / faces.light.w;
    float dx = dFdx(d), dy = dFdy(d);
    gl_FragDepth = max(gl_FragCoord.z, d + 0.25 * (dx * dx + dy * dy));
}
