#version 450
// Each triangle along the axis that sees most of it.
layout(triangles) in;
layout(triangle_strip, max_vertices = 3) out;
layout(location = 0) in VS { vec3 normal; vec2 uv; } vs[];
layout(location = 0) out GS { vec3 world; vec3 normal; vec2 uv; flat vec4 box; flat uint axis; } gs;
layout(std140, binding = 0) uniform Grid { mat4 views[3]; vec3 minimum; float size; uvec3 cells; } grid;

void main() {
    vec3 e0 = gl_in[1].gl_Position.xyz - gl_in[0].gl_Position.xyz;
    vec3 e1 = gl_in[2].gl_Position.xyz - gl_in[0].gl_Position.xyz;
    vec3 n = abs(cross(e0, e1));
    uint axis = (n.x > n.y && n.x > n.z) ? 0u : (n.y > n.z) ? 1u : 2u;
    vec4 p[3];
    vec2 lo = vec2(1.0), hi = vec2(-1.0);
    for(int i = 0; i < 3; i++) {
        p[i] = grid.views[axis] * gl_in[i].gl_Position;
        lo = min(lo, p[i].xy);
        hi = max(hi, p[i].xy);
    }
    for(int i = 0; i < 3; i++) {
        gs.world = gl_in[i].gl_Position.xyz;
        gs.normal = vs[i].normal;
        gs.uv = vs[i].uv;
        gs.box = vec4(lo, hi) + vec2(-1.0, 1.0).xxyy / float(grid.cells.x);
        gs.axis = axis;
        gl_Position = p[i];
        EmitVertex();
    }
    EndPrimitive();
}
