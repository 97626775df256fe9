// One target, two threads: each records its half of 2000 draws on a command device of its own, and the device runs both
// in their order. The result is that of one thread.

#include "Example.h"

using namespace Ostrevan;

// A small square somewhere on a closed curve.
static const char *const vertex_source = R"(
    layout(std140, binding = 0) uniform Parameters { vec4 place; vec4 color; };
    void main() {
        vec2 p = vec2(float(gl_VertexIndex & 1), float(gl_VertexIndex >> 1)) * 2.0 - 1.0;
        gl_Position = vec4(place.xy + p * place.z, 0.0, 1.0);
    })";

static const char *const fragment_source = R"(
    layout(std140, binding = 0) uniform Parameters { vec4 place; vec4 color; };
    layout(location = 0) out vec4 out_color;
    void main() { out_color = color; })";

struct Parameters {
    Vector4f place; // middle and half of the width
    Vector4f color;
};

constexpr uint32_t num_threads = 2;
constexpr uint32_t num_draws = 1000; // of each thread

// A thread owns its recorder; textures, buffers and pipelines may be shared.
static bool record(Device device, const Target &target, const Pipeline &pipeline, uint32_t index) {
    Command command = device.createCommand(target);
    if(!command) return false;
    command.setPipeline(pipeline);
    for(uint32_t i = 0; i < num_draws; i++) {
        const float32_t t = float32_t(i) / num_draws;
        float64_t s, c, other_s, other_c;
        Math::sinCos(360.0 * (index ? 2.0 : 3.0) * t, s, c);
        Math::sinCos(360.0 * (index ? 3.0 : 4.0) * t + 25.0, other_s, other_c);
        Parameters parameters;
        parameters.place = Vector4f(0.85f * float32_t(s), 0.85f * float32_t(other_c), 0.008f + 0.012f * t, 0.0f);
        parameters.color =
            index ? Vector4f(0.3f, 0.4f + 0.5f * t, 1.0f, 1.0f) : Vector4f(1.0f, 0.35f + 0.5f * t, 0.25f, 1.0f);
        command.setUniform(0, parameters);
        command.drawArrays(4);
    }
    return true;
}

int main(int argc, char **argv) {
    Example example("parallel_recording", "Draws two curves that two threads record.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();

    Pipeline pipeline = device.createPipeline();
    pipeline.setPrimitive(Pipeline::PrimitiveTriangleStrip);
    pipeline.setColorFormat(FormatRGBAu8n);
    pipeline.setUniformMask(0, Shader::MaskVertex | Shader::MaskFragment);
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source) || !pipeline.create()) return 1;

    Device command_devices[num_threads];
    for(Device &command_device : command_devices) {
        command_device = device.createCommandDevice();
        if(!command_device) return 1;
    }
    Async async;
    if(!async.init(num_threads)) return 1;

    Texture texture = example.createTarget(512, 512);
    if(!texture) return 1;
    Target target = device.createTarget({texture});
    target.setClearColor(0.07f, 0.08f, 0.11f, 1.0f);
    if(!target.begin()) return 1;
    Array<Async::Task> tasks;
    for(uint32_t i = 0; i < num_threads; i++) {
        Async::Task task = async.run(i);
        task.run([&, i] { return record(command_devices[i], target, pipeline, i); });
        tasks.append(task);
    }
    if(!async.wait(tasks)) return 1;
    for(uint32_t i = 0; i < num_threads; i++) {
        if(!tasks[i].getBool() || !device.execute(command_devices[i])) return 1;
    }
    if(!target.end()) return 1;
    return example.save(texture);
}
