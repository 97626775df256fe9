#version 450
// Far from the origin, in two numbers.
layout(location = 0) in vec3 high;
layout(location = 1) in vec3 low;
layout(location = 2) in dvec2 angle;
layout(location = 0) out vec3 relative;
layout(std140, binding = 0) uniform Eye { dmat4 view; mat4 projection; dvec3 position; double scale; } eye;

dvec3 turn(dvec3 p, dvec2 a) {
    dmat2 m = dmat2(a.x, a.y, -a.y, a.x);
    p.xz = m * p.xz;
    return p;
}

void main() {
    dvec3 p = dvec3(high) + dvec3(low);
    p = turn(p, normalize(angle)) * eye.scale;
    dvec4 v = eye.view * dvec4(p - eye.position, 1.0);
    relative = vec3(v.xyz);
    double far = max(abs(v.z), 1e-3LF);
    gl_Position = eye.projection * vec4(v);
    gl_Position.z = float(log2(float(1.0lf + far)) / 40.0);
    gl_Position.z *= gl_Position.w;
}
