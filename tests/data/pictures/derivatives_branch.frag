#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() {
    float v = s_texcoord.x * 3.0;
    float d = dFdx(v * v);
    if(s_texcoord.y > 0.5) v += d;
    else v -= fwidth(s_texcoord.y);
    out_color = vec4(v, d, 0.0, 1.0);
}
