#version 450
layout(location = 0) in vec3 inPos;
layout(location = 1) in vec3 inNormal;
layout(location = 4) in vec3 instancePos;
layout(location = 5) in vec3 instanceRot;
layout(location = 6) in float instanceScale;
layout(location = 7) in int instanceTexIndex;
layout(binding = 0) uniform UBO { mat4 projection; mat4 modelview; vec4 lightPos; float locSpeed; float globSpeed; } ubo;
layout(location = 0) out vec3 outNormal;
layout(location = 2) out vec3 outUV;
void main() {
    mat3 mx, my, mz;
    float s = sin(instanceRot.x + ubo.locSpeed);
    float c = cos(instanceRot.x + ubo.locSpeed);
    mx[0] = vec3(c, s, 0.0);
    mx[1] = vec3(-s, c, 0.0);
    mx[2] = vec3(0.0, 0.0, 1.0);
    s = sin(instanceRot.y + ubo.locSpeed);
    c = cos(instanceRot.y + ubo.locSpeed);
    my[0] = vec3(c, 0.0, s);
    my[1] = vec3(0.0, 1.0, 0.0);
    my[2] = vec3(-s, 0.0, c);
    mz = mat3(1.0);
    mat3 rotMat = mz * my * mx;
    mat4 gRotMat;
    gRotMat[0] = vec4(c, 0.0, s, 0.0);
    gRotMat[1] = vec4(0.0, 1.0, 0.0, 0.0);
    gRotMat[2] = vec4(-s, 0.0, c, 0.0);
    gRotMat[3] = vec4(0.0, 0.0, 0.0, 1.0);
    vec4 locPos = vec4(inPos.xyz * rotMat, 1.0);
    vec4 pos = vec4((locPos.xyz * instanceScale) + instancePos, 1.0);
    gl_Position = ubo.projection * ubo.modelview * gRotMat * pos;
    outNormal = mat3(ubo.modelview * gRotMat) * inverse(rotMat) * inNormal;
    outUV = vec3(inPos.xy, instanceTexIndex);
}
