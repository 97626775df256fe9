#version 450
layout(location = 0) in vec3 position;
layout(location = 1) in vec4 color[2];
layout(location = 0) out struct Vertex { vec4 color; vec3 shape; } vertex;
layout(binding = 0) uniform samplerBuffer targets;
layout(binding = 1) uniform isamplerBuffer active_;
layout(std140, binding = 2, row_major) uniform Morph {
    mat4x3 model;
    layout(column_major) mat4 viewProjection;
    vec4 weights[8];
    int count;
} morph;

void main() {
    vec3 p = position;
    for(int i = 0; i < morph.count; i++) {
        int target = texelFetch(active_, i).x;
        if(target < 0) continue;
        p += texelFetch(targets, target * 4096 + gl_VertexIndex).xyz * morph.weights[i >> 2][i & 3];
    }
    vertex.color = mix(color[0], color[1], morph.weights[0].x);
    vertex.shape = p;
    gl_Position = morph.viewProjection * vec4(morph.model * vec4(p, 1.0), 1.0);
}
