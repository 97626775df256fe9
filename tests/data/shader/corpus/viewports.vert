#version 460
#extension GL_ARB_shader_viewport_layer_array : require
#extension GL_ARB_shader_draw_parameters : enable
layout(location = 0) in vec3 p;
layout(location = 0) out flat ivec2 where;
layout(binding = 0) uniform Views { mat4 matrices[4]; vec4 planes[2]; } views;

out gl_PerVertex {
    vec4 gl_Position;
    float gl_PointSize;
    float gl_ClipDistance[2];
    float gl_CullDistance[1];
};

void main() {
    int view = gl_InstanceIndex & 3;
    gl_Layer = gl_InstanceIndex >> 2;
    gl_ViewportIndex = view;
    vec4 world = vec4(p, 1.0);
    for(int i = 0; i < 2; i++) gl_ClipDistance[i] = dot(views.planes[i], world);
    gl_CullDistance[0] = gl_ClipDistance[0] + gl_ClipDistance[1];
    gl_PointSize = 2.0;
    gl_Position = views.matrices[view] * world;
    where = ivec2(gl_BaseInstance, gl_BaseVertex);
}
