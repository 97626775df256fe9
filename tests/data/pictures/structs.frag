#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(std140, set = 2, binding = 0) uniform Parameters { vec4 values[4]; mat4 transform; ivec4 numbers; };
struct Light {
    vec3 position;
    vec3 color;
    float power;
};
vec3 shade(in Light light, vec3 position, vec3 normal) {
    vec3 direction = normalize(light.position - position);
    float diffuse = max(dot(normal, direction), 0.0);
    float specular = pow(max(reflect(-direction, normal).z, 0.0), 16.0);
    return light.color * (diffuse + specular) * light.power;
}
void main() {
    Light lights[3];
    for(int i = 0; i < 3; i++) lights[i] = Light(vec3(float(i) - 1.0, 1.0, 0.5), values[i].xyz, 1.0 / float(i + 1));
    vec3 position = vec3(s_texcoord * 2.0 - 1.0, 0.0), normal = normalize(vec3(position.xy, 1.0));
    vec3 color = vec3(0.05);
    for(int i = 0; i < 3; i++) color += shade(lights[i], position, normal);
    out_color = vec4(pow(color, vec3(1.0 / 2.2)), 1.0);
}
