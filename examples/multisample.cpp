// One sample for each pixel on the left, four with a resolve on the right: both draw the same star at 64 by 64 pixels,
// and a second pipeline shows them four times as large.

#include "Example.h"

using namespace Ostrevan;

// Twelve thin triangles around the middle, from the number of the vertex alone.
static const char *const star_vertex = R"(
    void main() {
        int ray = gl_VertexIndex / 3, corner = gl_VertexIndex % 3;
        float angle = radians(float(ray) * 30.0 + 7.0 + ((corner == 1) ? -7.5 : (corner == 2) ? 7.5 : 0.0));
        gl_Position = vec4(vec2(cos(angle), sin(angle)) * ((corner == 0) ? 0.0 : 0.95), 0.0, 1.0);
    })";

static const char *const star_fragment = R"(
    layout(location = 0) out vec4 out_color;
    void main() { out_color = vec4(1.0, 0.8, 0.4, 1.0); })";

// One triangle over all of the viewport; texcoord is 0, 0 at the top left.
static const char *const show_vertex = R"(
    layout(location = 0) out vec2 texcoord;
    void main() {
        texcoord = vec2(float((gl_VertexIndex & 1) * 2), float((gl_VertexIndex >> 1) * 2));
        gl_Position = vec4(texcoord.x * 2.0 - 1.0, 1.0 - texcoord.y * 2.0, 0.0, 1.0);
    })";

static const char *const show_fragment = R"(
    layout(location = 0) in vec2 texcoord;
    layout(set = 0, binding = 0) uniform sampler in_sampler;
    layout(set = 1, binding = 0) uniform texture2D in_texture;
    layout(location = 0) out vec4 out_color;
    void main() { out_color = texture(sampler2D(in_texture, in_sampler), texcoord); })";

static Pipeline create_pipeline(Device &device, const char *vertex, const char *fragment, uint32_t samples) {
    Pipeline pipeline = device.createPipeline();
    pipeline.setColorFormat(FormatRGBAu8n).setMultisample(samples);
    if(samples == 0) pipeline.setSamplerMask(0, Shader::MaskFragment).setTextureMask(0, Shader::MaskFragment);
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex)) return Pipeline();
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment) || !pipeline.create()) return Pipeline();
    return pipeline;
}

static bool draw(Device &device, Target &target, const Pipeline &pipeline) {
    target.setClearColor(0.1f, 0.12f, 0.2f, 1.0f);
    if(!target.begin()) return false;
    {
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.drawArrays(36);
    }
    return target.end();
}

int main(int argc, char **argv) {
    Example example("multisample", "Compares one sample for each pixel with four.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    constexpr uint32_t size = 64, zoom = 4;

    Pipeline plain_pipeline = create_pipeline(device, star_vertex, star_fragment, 1);
    Pipeline multisample_pipeline = create_pipeline(device, star_vertex, star_fragment, 4);
    Pipeline show_pipeline = create_pipeline(device, show_vertex, show_fragment, 0);
    Sampler sampler = device.createSampler(Sampler::FilterPoint, Sampler::WrapModeClamp);
    Texture plain = example.createTarget(size, size);
    Texture resolved = example.createTarget(size, size);
    Texture samples =
        device.createTexture2D(FormatRGBAu8n, size, size, Texture::FlagTarget | Texture::FlagMultisample4);
    Texture picture = example.createTarget(size * zoom * 2, size * zoom);
    if(!plain_pipeline || !multisample_pipeline || !show_pipeline || !sampler) return 1;
    if(!plain || !resolved || !samples || !picture) return 1;

    Target plain_target = device.createTarget({plain});
    if(!draw(device, plain_target, plain_pipeline)) return 1;

    // The samples themselves are not stored: their average goes to the other texture at the end of the target.
    Target multisample_target = device.createTarget();
    multisample_target.setColorTexture(samples, Target::BeginClear | Target::EndResolve);
    multisample_target.setColorResolve(resolved);
    if(!draw(device, multisample_target, multisample_pipeline)) return 1;

    Target target = device.createTarget({picture});
    if(!target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(show_pipeline);
        command.setSampler(0, sampler);
        for(uint32_t i = 0; i < 2; i++) {
            command.setTexture(0, i ? resolved : plain);
            command.setViewport(0, Viewport(float32_t(i * size * zoom), 0.0f, size * zoom, size * zoom));
            command.drawArrays(3);
        }
    }
    if(!target.end()) return 1;
    return example.save(picture);
}
