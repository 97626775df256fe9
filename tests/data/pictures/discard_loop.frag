#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() {
    float sum = 0.0;
    for(int i = 0; i < 8; i++) {
        if(i == 6 && s_texcoord.x > 0.7) discard;
        if(float(i) > s_texcoord.y * 8.0) break;
        sum += fract(s_texcoord.x * float(i + 1));
    }
    out_color = vec4(sum / 8.0, s_texcoord, 1.0);
}
