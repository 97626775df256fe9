#version 450
layout(vertices = 3) out;
layout(location = 0) out float s_height[];
layout(location = 1) patch out vec3 s_patch;
void main() {
    gl_out[gl_InvocationID].gl_Position = gl_in[gl_InvocationID].gl_Position;
    s_height[gl_InvocationID] = float(gl_InvocationID) * 0.3;
    barrier();
    if(gl_InvocationID == 0) {
        s_patch = vec3(float(gl_PatchVerticesIn), float(gl_PrimitiveID), 0.5);
        gl_TessLevelOuter[0] = 3.0;
        gl_TessLevelOuter[1] = 4.0;
        gl_TessLevelOuter[2] = 5.0;
        gl_TessLevelInner[0] = 4.0;
    }
}
