#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() {
    out_color = vec4(gl_FragCoord.xy / 64.0, gl_FragCoord.z, gl_FragCoord.w);
    if(!gl_FrontFacing) out_color.b = 1.0;
}
