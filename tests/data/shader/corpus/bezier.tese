#version 450
layout(quads, fractional_odd_spacing, cw) in;
layout(std140, binding = 0) uniform View { mat4 viewProjection; vec2 viewport; float pixels; } view;
layout(location = 0) in struct Control { vec3 color; float weight; } control[];
layout(location = 2) patch in mat2 corners;
layout(location = 0) out vec3 color;
layout(location = 1) out vec3 normal;

vec4 basis(float t) {
    float s = 1.0 - t;
    return vec4(s * s * s, 3.0 * s * s * t, 3.0 * s * t * t, t * t * t);
}

vec4 slope(float t) {
    float s = 1.0 - t;
    return vec4(-3.0 * s * s, 3.0 * s * (s - 2.0 * t), 3.0 * t * (2.0 * s - t), 3.0 * t * t);
}

void main() {
    vec4 u = basis(gl_TessCoord.x), v = basis(gl_TessCoord.y);
    vec4 du = slope(gl_TessCoord.x), dv = slope(gl_TessCoord.y);
    vec3 p = vec3(0.0), pu = p, pv = p;
    color = vec3(0.0);
    float sum = 0.0;
    for(int row = 0; row < 4; row++) {
        for(int column = 0; column < 4; column++) {
            int i = row * 4 + column;
            float w = u[column] * v[row] * control[i].weight;
            p += gl_in[i].gl_Position.xyz * w;
            pu += gl_in[i].gl_Position.xyz * (du[column] * v[row]);
            pv += gl_in[i].gl_Position.xyz * (u[column] * dv[row]);
            color += control[i].color * w;
            sum += w;
        }
    }
    normal = normalize(cross(pu, pv));
    color /= sum;
    gl_Position = view.viewProjection * vec4(p / sum, 1.0);
    color *= step(1.0, distance(corners[0], corners[1])); // nothing to see of the smallest
}
