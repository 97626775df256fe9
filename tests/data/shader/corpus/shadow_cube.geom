#version 450

layout(triangles, invocations = 6) in;
layout(triangle_strip, max_vertices = 3) out;

layout(std140, binding = 0) uniform Faces {
    mat4 viewProjection[6];
    vec4 light;
} faces;

layout(location = 0) out vec4 outPos;

in gl_PerVertex {
    vec4 gl_Position;
} gl_in[];

out gl_PerVertex {
    vec4 gl_Position;
};

void main() {
    for(int i = 0; i < gl_in.length(); ++i) {
        gl_Layer = gl_InvocationID;
        outPos = gl_in[i].gl_Position;
        gl_Position = faces.viewProjection[gl_InvocationID] * gl_in[i].gl_Position;
        EmitVertex();
    }
    EndPrimitive();
}
