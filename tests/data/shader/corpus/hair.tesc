#version 450
layout(vertices = 2) out;
layout(location = 0) patch out vec4 root;
layout(location = 1) patch out struct Strand { vec3 color; float width; } strand;
layout(binding = 0) uniform Camera { mat4 viewProjection; vec3 eye; float detail; };

in gl_PerVertex {
    vec4 gl_Position;
    float gl_PointSize;
} gl_in[gl_MaxPatchVertices];
out gl_PerVertex {
    vec4 gl_Position;
    float gl_PointSize;
} gl_out[];

void main() {
#define ID gl_InvocationID
    gl_out[ID].gl_Position = gl_in[ID].gl_Position;
    gl_out[ID].gl_PointSize = gl_in[ID].gl_PointSize;
    barrier();
    if(ID == 0) {
        float away = distance(eye, gl_in[0].gl_Position.xyz);
        gl_TessLevelOuter[0] = clamp(float(gl_PatchVerticesIn) * detail / away, 1.0, 64.0);
        gl_TessLevelOuter[1] = mix(2.0, 8.0, 1.0 / (1.0 + away));
        root = gl_in[0].gl_Position;
        strand.color = vec3(0.3, 0.2, 0.1) * fract(float(gl_PrimitiveID) * 0.618034);
        strand.width = 0.01 / max(away, 1.0);
    }
}
