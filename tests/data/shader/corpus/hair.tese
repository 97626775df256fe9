#version 450
layout(isolines, fractional_even_spacing) in;
layout(location = 0) patch in vec4 root;
layout(location = 1) patch in struct Strand { vec3 color; float width; } strand;
layout(location = 0) out vec4 color;
layout(binding = 0) uniform Camera { mat4 viewProjection; vec3 eye; float detail; };

vec3 bend(vec3 a, vec3 b, float t) {
    vec3 side = normalize(cross(b - a, vec3(0.0, 1.0, 0.0)));
    return mix(a, b, t) + side * sin(t * radians(180.0)) * 0.1;
}

void main() {
    vec3 a = gl_in[0].gl_Position.xyz, b = gl_in[1].gl_Position.xyz;
    vec3 p = bend(a, b, gl_TessCoord.x) + vec3(strand.width * gl_TessCoord.y, 0.0, 0.0);
    color = vec4(strand.color * (1.0 - 0.5 * gl_TessCoord.x), root.w);
    gl_Position = viewProjection * vec4(p, 1.0);
}
