#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() {
    vec2 cell = floor(s_texcoord * 8.0);
    if(mod(cell.x + cell.y, 2.0) > 0.5) discard;
    out_color = vec4(cell / 8.0, 1.0, 1.0);
}
