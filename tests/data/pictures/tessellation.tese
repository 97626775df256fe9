#version 450
layout(triangles, fractional_odd_spacing, ccw) in;
layout(location = 0) in float s_height[];
layout(location = 1) patch in vec3 s_patch;
layout(location = 0) out vec4 s_color;
void main() {
    vec3 c = gl_TessCoord;
    gl_Position = gl_in[0].gl_Position * c.x + gl_in[1].gl_Position * c.y + gl_in[2].gl_Position * c.z;
    gl_Position.xy += sin(gl_Position.yx * 5.0) * 0.05;
    s_color = vec4(c.xy, s_height[0] * c.x + s_height[1] * c.y + s_height[2] * c.z, s_patch.x + s_patch.y);
}
