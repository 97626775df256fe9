#version 450
layout(quads, equal_spacing, ccw) in;
layout(set = 0, binding = 1) uniform sampler2D displacement;
layout(set = 0, binding = 0) uniform Frame { mat4 viewProjection; vec4 frustum[6]; float height; } frame;
layout(location = 0) in vec2 uvIn[];
layout(location = 0) out VS {
    vec3 normal;
    vec2 uv;
    float jacobian;
} vs;

vec2 interpolate(vec2 v0, vec2 v1, vec2 v2, vec2 v3) {
    vec2 a = mix(v0, v1, gl_TessCoord.x);
    vec2 b = mix(v3, v2, gl_TessCoord.x);
    return mix(a, b, gl_TessCoord.y);
}

void main() {
    vs.uv = interpolate(uvIn[0], uvIn[1], uvIn[2], uvIn[3]);
    vec4 p1 = mix(gl_in[0].gl_Position, gl_in[1].gl_Position, gl_TessCoord.x);
    vec4 p2 = mix(gl_in[3].gl_Position, gl_in[2].gl_Position, gl_TessCoord.x);
    vec4 p = mix(p1, p2, gl_TessCoord.y);
    vec3 d = textureLod(displacement, vs.uv, 0.0).xyz;
    vec2 texel = 1.0 / vec2(textureSize(displacement, 0));
    vec3 dx = textureLod(displacement, vs.uv + vec2(texel.x, 0), 0.0).xyz - d;
    vec3 dy = textureLod(displacement, vs.uv + vec2(0, texel.y), 0.0).xyz - d;
    vs.jacobian = (1.0 + dx.x) * (1.0 + dy.z) - dx.z * dy.x;
    vs.normal = normalize(vec3(-dx.y, 1.0, -dy.y));
    p.xyz += d * frame.height;
    gl_Position = frame.viewProjection * p;
}
