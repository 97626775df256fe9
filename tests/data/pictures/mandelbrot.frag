#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() {
    vec2 c = s_texcoord * 2.5 - vec2(1.75, 1.25), z = vec2(0.0);
    int i = 0;
    while(i < 32 && dot(z, z) < 4.0) {
        z = vec2(z.x * z.x - z.y * z.y, 2.0 * z.x * z.y) + c;
        i++;
    }
    out_color = vec4(float(i) / 32.0, float(i & 3) / 3.0, 0.0, 1.0);
}
