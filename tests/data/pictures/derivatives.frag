#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() {
    vec2 p = s_texcoord * s_texcoord.yx * 4.0;
    out_color = vec4(dFdx(p.x), dFdy(p.y), fwidth(p.x + p.y), dFdxFine(p.y) + dFdyFine(p.x));
}
