#version 450
layout(points) in;
layout(points, max_vertices = 8) out;
layout(location = 0) in vec4 seed[];
layout(location = 0, stream = 0) out vec4 first;
layout(location = 1, stream = 1) out vec4 second;

float next(inout vec4 s) {
    s = fract(s * vec4(443.897, 441.423, 437.195, 449.17));
    s += dot(s, s.wzxy + 19.19);
    return fract((s.x + s.y) * (s.z + s.w));
}

void main() {
    vec4 s = seed[0];
    for(int i = 0; i < 4; i++) {
        float r = next(s);
        if(r > 0.5) {
            first = s;
            EmitStreamVertex(0);
            EndStreamPrimitive(0);
        } else {
            second = s * r;
            EmitStreamVertex(1);
        }
    }
}
