#version 450
layout(location = 0) in vec3 corner;
layout(location = 0) out vec3 direction;
layout(binding = 0) uniform Camera { mat4 projection; mat4 view; } camera;
invariant gl_Position;

void main() {
    direction = corner;
    mat4 turned = mat4(mat3(camera.view)); // the eye stays in the middle
    vec4 clip = camera.projection * (turned * vec4(corner, 0.0));
    gl_Position = clip.xyww;
}
