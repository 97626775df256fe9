#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() {
    int k = int(s_texcoord.x * 8.0) + int(s_texcoord.y * 3.0);
    vec3 color = vec3(0.0);
    switch(k) {
    case 0:
    case 1: color.r = 1.0; break;
    case 2: color.g = 1.0;
    case 3: color.b += 0.5; break;
    case 7: color = vec3(0.25); break;
    default: color = vec3(float(k) / 16.0); break;
    }
    out_color = vec4(color, 1.0);
}
