#version 450
#extension GL_ARB_shader_draw_parameters : require
struct Object { mat4x3 model; uint material; uint pad[3]; };
layout(std430, set = 0, binding = 0) readonly buffer Objects { Object objects[]; };
layout(set = 0, binding = 1) uniform Camera { mat4 viewProjection; };
layout(location = 0) in vec3 position;
layout(location = 0) out flat uint material;

void main() {
    Object object = objects[gl_DrawIDARB + gl_BaseInstanceARB];
    material = object.material + uint(gl_BaseVertexARB);
    gl_Position = viewProjection * vec4(object.model * vec4(position, 1.0), 1.0);
}
