// Shapes along a spiral: a kernel decides for each whether it is a triangle, a square or a hexagon, appends it to the
// instances of that shape, and counts them in the records of one indirect draw. The host never learns the numbers.

#include "Example.h"

using namespace Ostrevan;

static const char *const kernel_source = R"(
    layout(local_size_x = 64) in;
    struct Record { uint num_vertices, num_instances, base_vertex, base_instance; };
    layout(std430, binding = 0) buffer Records { Record records[]; };
    layout(std430, binding = 1) writeonly buffer Instances { vec4 instances[]; };
    void main() {
        uint id = gl_GlobalInvocationID.x;
        if(id >= SIZE) return;
        // A sunflower: each seed one golden angle further, at the square root of its number.
        float angle = float(id) * 2.399963, radius = sqrt((float(id) + 0.5) / float(SIZE));
        uint shape = (id * 7u + id / 34u) % 3u;
        uint index = records[shape].base_instance + atomicAdd(records[shape].num_instances, 1u);
        instances[index] = vec4(vec2(cos(angle), sin(angle)) * radius * 0.92, angle, radius);
    })";

static const char *const vertex_source = R"(
    layout(location = 0) in vec2 in_position;
    layout(location = 1) in vec4 in_instance;
    layout(location = 0) out vec3 color;
    void main() {
        float c = cos(in_instance.z), s = sin(in_instance.z), radius = in_instance.w;
        vec2 p = mat2(c, s, -s, c) * in_position * mix(0.014, 0.021, radius);
        gl_Position = vec4(in_instance.xy + p, 0.0, 1.0);
        const vec3 colors[3] = vec3[3](vec3(0.98, 0.75, 0.3), vec3(0.9, 0.36, 0.32), vec3(0.3, 0.7, 0.78));
        color = mix(vec3(1.0), colors[gl_DrawIndex], 0.3 + 0.7 * radius);
    })";

static const char *const fragment_source = R"(
    layout(location = 0) in vec3 color;
    layout(location = 0) out vec4 out_color;
    void main() { out_color = vec4(color, 1.0); })";

int main(int argc, char **argv) {
    Example example("instancing", "Draws instances that a kernel made and counted.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    constexpr uint32_t size = 1500;

    // Triangles of a regular polygon around its middle; each shape may have all of the instances.
    const uint32_t corners[3] = {3, 4, 6};
    Array<Vector2f> vertices;
    Command::DrawArraysIndirect records[3] = {};
    for(uint32_t i = 0; i < 3; i++) {
        records[i] = {corners[i] * 3, 0, vertices.size(), size * i};
        for(uint32_t j = 0; j < corners[i] * 3; j++) {
            float64_t s, c;
            Math::sinCos(360.0 / corners[i] * (j / 3 + (j % 3 == 2)), s, c);
            vertices.append((j % 3) ? Vector2f(float32_t(c), float32_t(s)) : Vector2f());
        }
    }
    Buffer vertex_buffer = device.createBuffer(Buffer::FlagVertex, vertices.get(), vertices.bytes());
    Buffer record_buffer = device.createBuffer(Buffer::FlagStorage | Buffer::FlagIndirect, records, sizeof(records));
    Buffer instance_buffer = device.createBuffer(Buffer::FlagStorage | Buffer::FlagVertex, sizeof(Vector4f) * size * 3);
    if(!vertex_buffer || !record_buffer || !instance_buffer) return 1;

    Kernel kernel = device.createKernel();
    kernel.setStorages(2);
    if(!kernel.createShaderGLSL(kernel_source, "SIZE=%uu", size) || !kernel.create()) return 1;

    Pipeline pipeline = device.createPipeline();
    pipeline.setColorFormat(FormatRGBAu8n);
    pipeline.addAttribute(Pipeline::AttributePosition, FormatRGf32, 0, 0, sizeof(Vector2f));
    pipeline.addAttribute(Pipeline::AttributeBasis, FormatRGBAf32, 1, 0, sizeof(Vector4f), 1); // one for each instance
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source) || !pipeline.create()) return 1;

    {
        Compute compute = device.createCompute();
        compute.setKernel(kernel);
        compute.setStorageBuffers(0, {record_buffer, instance_buffer});
        compute.dispatch(size);
    }

    // A target sees all that was recorded before it begins: no barrier is needed.
    Texture texture = example.createTarget(512, 512);
    if(!texture) return 1;
    Target target = device.createTarget({texture});
    target.setClearColor(0.07f, 0.09f, 0.13f, 1.0f);
    if(!target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.setVertexBuffers(0, {vertex_buffer, instance_buffer});
        command.drawArraysIndirect(record_buffer, 0, 3);
    }
    if(!target.end()) return 1;
    return example.save(texture);
}
