// Hills out of a grid of 8 by 8 quads: the control shader divides near ones further, the evaluation shader lifts the
// new vertices, and the geometry shader gives each triangle its normal and the distances to its edges.

#include "Example.h"

using namespace Ostrevan;

static const char *const vertex_source = R"(
    void main() {
        int quad = gl_VertexIndex / 4, corner = gl_VertexIndex & 3;
        vec2 p = vec2(float(quad % 8 + (corner & 1)), float(quad / 8 + (corner >> 1)));
        gl_Position = vec4(p.x / 4.0 - 1.0, 0.0, p.y / 4.0 - 1.0, 1.0);
    })";

// Corners are 0 and 1 in front, 2 and 3 behind. Quads that share an edge divide it alike, by its middle alone.
static const char *const control_source = R"(
    layout(vertices = 4) out;
    layout(std140, binding = 0) uniform Parameters { mat4 projection; vec4 eye; };
    float level(int a, int b) {
        vec3 middle = (gl_in[a].gl_Position.xyz + gl_in[b].gl_Position.xyz) * 0.5;
        return clamp(14.0 / distance(middle, eye.xyz), 2.0, 24.0);
    }
    void main() {
        gl_out[gl_InvocationID].gl_Position = gl_in[gl_InvocationID].gl_Position;
        if(gl_InvocationID != 0) return;
        gl_TessLevelOuter[0] = level(0, 2);
        gl_TessLevelOuter[1] = level(0, 1);
        gl_TessLevelOuter[2] = level(1, 3);
        gl_TessLevelOuter[3] = level(2, 3);
        gl_TessLevelInner[0] = max(gl_TessLevelOuter[1], gl_TessLevelOuter[3]);
        gl_TessLevelInner[1] = max(gl_TessLevelOuter[0], gl_TessLevelOuter[2]);
    })";

static const char *const evaluation_source = R"(
    layout(quads, equal_spacing, ccw) in;
    void main() {
        vec4 a = mix(gl_in[0].gl_Position, gl_in[1].gl_Position, gl_TessCoord.x);
        vec4 b = mix(gl_in[2].gl_Position, gl_in[3].gl_Position, gl_TessCoord.x);
        vec3 p = mix(a, b, gl_TessCoord.y).xyz;
        p.y = 0.16 * sin(p.x * 5.0 + 1.0) * cos(p.z * 4.0) + 0.05 * sin(p.x * 11.0 + p.z * 7.0);
        gl_Position = vec4(p, 1.0);
    })";

static const char *const geometry_source = R"(
    layout(triangles) in;
    layout(triangle_strip, max_vertices = 3) out;
    layout(std140, binding = 0) uniform Parameters { mat4 projection; vec4 eye; };
    layout(location = 0) out vec3 normal;
    layout(location = 1) out vec3 position;
    layout(location = 2) out vec3 edges;
    void main() {
        vec3 p0 = gl_in[0].gl_Position.xyz, p1 = gl_in[1].gl_Position.xyz, p2 = gl_in[2].gl_Position.xyz;
        vec3 n = normalize(cross(p1 - p0, p2 - p0));
        for(int i = 0; i < 3; i++) {
            position = gl_in[i].gl_Position.xyz;
            normal = (n.y < 0.0) ? -n : n;
            edges = vec3(float(i == 0), float(i == 1), float(i == 2));
            gl_Position = projection * vec4(position, 1.0);
            EmitVertex();
        }
        EndPrimitive();
    })";

static const char *const fragment_source = R"(
    layout(location = 0) in vec3 normal;
    layout(location = 1) in vec3 position;
    layout(location = 2) in vec3 edges;
    layout(location = 0) out vec4 out_color;
    void main() {
        vec3 color = mix(vec3(0.16, 0.4, 0.5), vec3(0.95, 0.8, 0.5), clamp(position.y * 2.6 + 0.5, 0.0, 1.0));
        color *= 0.35 + 0.65 * max(dot(normal, normalize(vec3(-0.6, 0.7, 0.3))), 0.0);
        vec3 distances = edges / fwidth(edges);
        float line = clamp(min(min(distances.x, distances.y), distances.z), 0.0, 1.0);
        out_color = vec4(mix(vec3(0.04, 0.06, 0.1), color, 0.45 + 0.55 * line), 1.0);
    })";

int main(int argc, char **argv) {
    Example example("geometry_tessellation", "Draws tessellated hills with their edges.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    if(!device.hasShader(Shader::TypeControl)) return example.fail("the device has no tessellation shaders");
    if(!device.hasShader(Shader::TypeGeometry)) return example.fail("the device has no geometry shaders");
    constexpr uint32_t size = 512;

    Pipeline pipeline = device.createPipeline();
    pipeline.setPrimitive(Pipeline::PrimitiveQuadrilateralPatch);
    pipeline.setUniformMask(0, Shader::MaskControl | Shader::MaskGeometry);
    pipeline.setColorFormat(FormatRGBAu8n).setDepthFormat(FormatDf32);
    pipeline.setDepthFunc(Pipeline::DepthFuncLess).setDepthMask(Pipeline::DepthMaskWrite);
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeControl, control_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeEvaluate, evaluation_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeGeometry, geometry_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source) || !pipeline.create()) return 1;

    Texture color = example.createTarget(size, size);
    Texture depth = device.createTexture2D(FormatDf32, size, size, Texture::FlagTarget);
    if(!color || !depth) return 1;
    Target target = device.createTarget({color, depth});
    target.setClearColor(0.1f, 0.12f, 0.16f, 1.0f);
    target.setClearDepth(1.0f);

    struct Parameters {
        Matrix4x4f projection;
        Vector4f eye;
    };
    const Vector3f eye(0.7f, 1.1f, 1.7f), up(0.0f, 1.0f, 0.0f);
    const Matrix4x4f view = Matrix4x4f::lookAt(eye, Vector3f(0.0f, -0.1f, 0.1f), up);
    if(!target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.setUniform(0, Parameters{Matrix4x4f::perspective(60.0, 1.0, 0.1, 10.0) * view, Vector4f(eye, 1.0f)});
        command.drawArrays(8 * 8 * 4);
    }
    if(!target.end()) return 1;
    return example.save(color);
}
