// Six ways to put two translucent discs over a checkerboard. In the rows from the top: opaque, over, additive;
// multiplied, screened, and the larger of both.

#include "Example.h"

using namespace Ostrevan;

// One triangle over all of the viewport; position has -1 to 1 in it, y upwards.
static const char *const vertex_source = R"(
    layout(location = 0) out vec2 position;
    void main() {
        position = vec2(float((gl_VertexIndex & 1) * 4) - 1.0, float((gl_VertexIndex >> 1) * 4) - 1.0);
        gl_Position = vec4(position, 0.0, 1.0);
    })";

static const char *const board_source = R"(
    layout(location = 0) out vec4 out_color;
    void main() {
        ivec2 square = ivec2(gl_FragCoord.xy) / 16;
        out_color = vec4(vec3(((square.x + square.y) & 1) != 0 ? 0.35 : 0.65), 1.0);
    })";

static const char *const disc_source = R"(
    layout(location = 0) in vec2 position;
    layout(std140, binding = 0) uniform Parameters { vec4 color; vec2 center; float radius; };
    layout(location = 0) out vec4 out_color;
    void main() {
        if(distance(position, center) > radius) discard;
        out_color = color;
    })";

struct Parameters {
    Vector4f color;
    Vector2f center;
    float32_t radius;
    float32_t padding;
};

static Pipeline create_pipeline(Device &device, const char *fragment, Pipeline::BlendOp op, Pipeline::BlendFunc src,
                                Pipeline::BlendFunc dest) {
    Pipeline pipeline = device.createPipeline();
    pipeline.setColorFormat(FormatRGBAu8n);
    if(fragment == disc_source) pipeline.setUniformMask(0, Shader::MaskFragment);
    // The sum goes to the colours; the picture stays opaque.
    pipeline.setBlendColor(op, src, dest).setColorMask(Pipeline::ColorMaskRGB);
    if(fragment == board_source) pipeline.setColorMask(Pipeline::ColorMaskAll);
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return Pipeline();
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment) || !pipeline.create()) return Pipeline();
    return pipeline;
}

int main(int argc, char **argv) {
    Example example("blending", "Draws two discs with six blend modes.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    constexpr uint32_t size = 256;

    // What comes out is src * source function, op, what is there * destination function.
    const struct {
        Pipeline::BlendOp op;
        Pipeline::BlendFunc src, dest;
    } modes[6] = {
        {Pipeline::BlendOpAdd, Pipeline::BlendFuncNone, Pipeline::BlendFuncNone},
        {Pipeline::BlendOpAdd, Pipeline::BlendFuncSrcAlpha, Pipeline::BlendFuncInvSrcAlpha},
        {Pipeline::BlendOpAdd, Pipeline::BlendFuncSrcAlpha, Pipeline::BlendFuncOne},
        {Pipeline::BlendOpAdd, Pipeline::BlendFuncDestColor, Pipeline::BlendFuncZero},
        {Pipeline::BlendOpAdd, Pipeline::BlendFuncOne, Pipeline::BlendFuncInvSrcColor},
        {Pipeline::BlendOpMax, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne},
    };
    Pipeline board = create_pipeline(device, board_source, modes[0].op, modes[0].src, modes[0].dest);
    Pipeline pipelines[6];
    for(uint32_t i = 0; i < 6; i++) {
        pipelines[i] = create_pipeline(device, disc_source, modes[i].op, modes[i].src, modes[i].dest);
        if(!pipelines[i]) return 1;
    }
    const Parameters discs[] = {
        {Vector4f(1.0f, 0.55f, 0.2f, 0.6f), Vector2f(-0.25f, 0.15f), 0.6f, 0.0f},
        {Vector4f(0.2f, 0.5f, 1.0f, 0.6f), Vector2f(0.25f, -0.15f), 0.6f, 0.0f},
    };

    Texture texture = example.createTarget(size * 3, size * 2);
    if(!board || !texture) return 1;
    Target target = device.createTarget({texture});
    if(!target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(board);
        command.drawArrays(3);
        for(uint32_t i = 0; i < 6; i++) {
            command.setPipeline(pipelines[i]);
            command.setViewport(0, Viewport(float32_t(i % 3 * size), float32_t(i / 3 * size), size, size));
            for(const Parameters &disc : discs) {
                command.setUniform(0, disc);
                command.drawArrays(3);
            }
        }
    }
    if(!target.end()) return 1;
    return example.save(texture);
}
