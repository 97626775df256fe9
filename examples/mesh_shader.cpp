// A torus without any vertex buffer: a task shader decides which of its 16 by 8 patches are seen, and for each of these
// a group of the mesh shader makes 25 vertices and 32 triangles. Every patch has a colour of its own.

#include "Example.h"

using namespace Ostrevan;

// One group for each ring of patches, one thread for each patch of the ring.
static const char *const task_source = R"(
    layout(local_size_x = 8) in;
    layout(std140, binding = 0) uniform Parameters { mat4 projection; vec4 eye; };
    struct Payload { uint patches[8]; };
    taskPayloadSharedEXT Payload payload;
    shared uint count;
    void main() {
        if(gl_LocalInvocationIndex == 0u) count = 0u;
        barrier();
        // Seen from the eye if one of the corners faces it.
        bool is_seen = false;
        for(int i = 0; i < 4; i++) {
            float u = radians(float(gl_WorkGroupID.x + uint(i & 1)) * 22.5);
            float v = radians(float(gl_LocalInvocationIndex + uint(i >> 1)) * 45.0);
            vec3 normal = vec3(cos(u) * cos(v), sin(v), sin(u) * cos(v));
            vec3 position = vec3(cos(u), 0.0, sin(u)) + normal * 0.42;
            if(dot(eye.xyz - position, normal) > 0.0) is_seen = true;
        }
        if(is_seen) {
            uint index = atomicAdd(count, 1u);
            payload.patches[index] = gl_WorkGroupID.x * 8u + gl_LocalInvocationIndex;
        }
        barrier();
        EmitMeshTasksEXT(count, 1u, 1u);
    })";

static const char *const mesh_source = R"(
    layout(local_size_x = 32) in;
    layout(triangles, max_vertices = 25, max_primitives = 32) out;
    layout(std140, binding = 0) uniform Parameters { mat4 projection; vec4 eye; };
    struct Payload { uint patches[8]; };
    taskPayloadSharedEXT Payload payload;
    layout(location = 0) out vec3 normals[];
    layout(location = 1) perprimitiveEXT out vec3 colors[];
    void main() {
        SetMeshOutputsEXT(25u, 32u);
        uint id = gl_LocalInvocationIndex, number = payload.patches[gl_WorkGroupID.x];
        if(id < 25u) {
            float u = radians((float(number / 8u) + float(id % 5u) * 0.25) * 22.5);
            float v = radians((float(number % 8u) + float(id / 5u) * 0.25) * 45.0);
            normals[id] = vec3(cos(u) * cos(v), sin(v), sin(u) * cos(v));
            gl_MeshVerticesEXT[id].gl_Position = projection * vec4(vec3(cos(u), 0.0, sin(u)) + normals[id] * 0.42, 1.0);
        }
        // Two triangles for each of 16 quads, counter-clockwise from outside.
        uint quad = id / 2u, first = quad / 4u * 5u + quad % 4u;
        uvec3 indices = uvec3(first, first + 5u, first + 1u);
        if((id & 1u) != 0u) indices = uvec3(first + 1u, first + 5u, first + 6u);
        gl_PrimitiveTriangleIndicesEXT[id] = indices;
        vec3 color = fract(float(number) * vec3(0.618034, 0.754878, 0.569840));
        colors[id] = mix(vec3(0.35), vec3(0.95), color) * (((id & 1u) != 0u) ? 1.0 : 0.92);
    })";

static const char *const fragment_source = R"(
    layout(location = 0) in vec3 normal;
    layout(location = 1) perprimitiveEXT in vec3 color;
    layout(location = 0) out vec4 out_color;
    void main() {
        float light = 0.3 + 0.7 * max(dot(normalize(normal), normalize(vec3(0.4, 1.0, 0.6))), 0.0);
        out_color = vec4(color * light, 1.0);
    })";

int main(int argc, char **argv) {
    Example example("mesh_shader", "Draws a torus of patches by task and mesh shaders.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    if(!device.hasShader(Shader::TypeMesh)) return example.fail("the device has no mesh shaders");
    constexpr uint32_t size = 512;

    Pipeline pipeline = device.createPipeline();
    pipeline.setUniformMask(0, Shader::MaskTask | Shader::MaskMesh);
    pipeline.setColorFormat(FormatRGBAu8n).setDepthFormat(FormatDf32);
    pipeline.setDepthFunc(Pipeline::DepthFuncLess).setDepthMask(Pipeline::DepthMaskWrite);
    pipeline.setCullMode(Pipeline::CullModeBack);
    if(!pipeline.createShaderGLSL(Shader::TypeTask, task_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeMesh, mesh_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source) || !pipeline.create()) return 1;

    Texture color = example.createTarget(size, size);
    Texture depth = device.createTexture2D(FormatDf32, size, size, Texture::FlagTarget);
    if(!color || !depth) return 1;
    Target target = device.createTarget({color, depth});
    target.setClearColor(0.09f, 0.1f, 0.14f, 1.0f);
    target.setClearDepth(1.0f);

    struct Parameters {
        Matrix4x4f projection;
        Vector4f eye;
    };
    const Vector3f eye(0.6f, 2.3f, 2.6f), up(0.0f, 1.0f, 0.0f);
    const Matrix4x4f view = Matrix4x4f::lookAt(eye, Vector3f(0.0f, -0.1f, 0.0f), up);
    if(!target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.setUniform(0, Parameters{Matrix4x4f::perspective(50.0, 1.0, 0.1, 10.0) * view, Vector4f(eye, 1.0f)});
        command.drawMesh(16);
    }
    if(!target.end()) return 1;
    return example.save(color);
}
