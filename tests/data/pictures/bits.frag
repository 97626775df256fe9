#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() {
    uint x = uint(gl_FragCoord.x), y = uint(gl_FragCoord.y);
    uint h = (x * 73856093u) ^ (y * 19349663u);
    h = (h << 13) | (h >> 19);
    out_color = unpackUnorm4x8(h + uint(bitCount(int(h))) * 0x01010101u);
    out_color.a = float(findMSB(h)) / 31.0 + float(bitfieldExtract(h, 4, 5)) / 64.0;
}
