#version 450
layout(triangles, invocations = 2) in;
layout(triangle_strip, max_vertices = 6) out;
layout(location = 0) in vec3 s_color[];
layout(location = 0) out vec3 g_color;
void main() {
    vec4 center = (gl_in[0].gl_Position + gl_in[1].gl_Position + gl_in[2].gl_Position) / 3.0;
    for(int i = 0; i < 2; i++) {
        int j = (i + gl_InvocationID) % 3, k = (j + 1) % 3;
        g_color = s_color[j];
        gl_Position = gl_in[j].gl_Position;
        EmitVertex();
        g_color = s_color[k];
        gl_Position = gl_in[k].gl_Position;
        EmitVertex();
        g_color = vec3(float(gl_PrimitiveIDIn), float(gl_InvocationID), 0.5);
        gl_Position = center;
        EmitVertex();
        EndPrimitive();
    }
}
