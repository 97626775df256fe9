#version 450

// Shells of a model, as fins along the edges that the eye sees from the side.
layout(triangles_adjacency) in;
layout(triangle_strip, max_vertices = 12) out;

layout(set = 0, binding = 0) uniform Camera {
    mat4 projection;
    vec4 params; // x: width
} camera;

layout(location = 0) in vec3 inNormal[];
layout(location = 0) out vec3 outNormal;
layout(location = 1) out flat int outEdge;

bool isFront(vec4 a, vec4 b, vec4 c) {
    vec2 p = a.xy / a.w, q = b.xy / b.w, r = c.xy / c.w;
    return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x) > 0.0;
}

void emitEdge(const int i0, const int i1, int edge) {
    const int corners[2] = int[](i0, i1);
    for(int k = 0; k < 2; k++) {
        for(int side = 0; side < 2; side++) {
            outNormal = inNormal[corners[k]];
            outEdge = edge;
            vec4 p = gl_in[corners[k]].gl_Position;
            gl_Position = camera.projection * (p + vec4(outNormal * camera.params.x * float(side), 0.0));
            EmitVertex();
        }
    }
    EndPrimitive();
}

void main() {
    vec4 p[6];
    for(int i = 0; i < 6; i++) p[i] = camera.projection * gl_in[i].gl_Position;
    if(!isFront(p[0], p[2], p[4])) return;
    if(!isFront(p[0], p[1], p[2])) emitEdge(0, 2, 0);
    if(!isFront(p[2], p[3], p[4])) emitEdge(2, 4, 1);
    if(!isFront(p[4], p[5], p[0])) emitEdge(4, 0, 2);
}
