#version 450
// Cubic patches; the levels follow the length of each border on the screen.
layout(vertices = 16) out;
layout(std140, binding = 0) uniform View { mat4 viewProjection; vec2 viewport; float pixels; } view;
layout(location = 0) in struct Control { vec3 color; float weight; } control[];
layout(location = 0) out struct Control2 { vec3 color; float weight; } result[];
layout(location = 2) patch out mat2 corners;

vec2 screen(int i) {
    vec4 p = view.viewProjection * gl_in[i].gl_Position;
    return (p.xy / p.w * 0.5 + 0.5) * view.viewport;
}

float border(int a, int b) { return clamp(distance(screen(a), screen(b)) / view.pixels, 1.0, 64.0); }

void main() {
    result[gl_InvocationID].color = control[gl_InvocationID].color;
    result[gl_InvocationID].weight = max(control[gl_InvocationID].weight, 1e-3);
    gl_out[gl_InvocationID].gl_Position = gl_in[gl_InvocationID].gl_Position;
    if(gl_InvocationID != 0) return;
    gl_TessLevelOuter[0] = border(0, 12);
    gl_TessLevelOuter[1] = border(0, 3);
    gl_TessLevelOuter[2] = border(3, 15);
    gl_TessLevelOuter[3] = border(12, 15);
    for(int i = 0; i < 2; i++) gl_TessLevelInner[i] = max(gl_TessLevelOuter[1 - i], gl_TessLevelOuter[3 - i]);
    corners = mat2(screen(0), screen(15));
}
