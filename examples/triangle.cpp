// The smallest drawing: a pipeline of two shaders, vertices with colours, a target that is cleared, one draw.

#include "Example.h"

using namespace Ostrevan;

// Clip space has y upwards, so the second vertex is at the bottom left of the picture.
static const char *const vertex_source = R"(
    layout(location = 0) in vec2 in_position;
    layout(location = 1) in vec3 in_color;
    layout(location = 0) out vec3 color;
    void main() {
        gl_Position = vec4(in_position, 0.0, 1.0);
        color = in_color;
    })";

static const char *const fragment_source = R"(
    layout(location = 0) in vec3 color;
    layout(location = 0) out vec4 out_color;
    void main() { out_color = vec4(color, 1.0); })";

struct Vertex {
    Vector2f position;
    Vector3f color;
};

int main(int argc, char **argv) {
    Example example("triangle", "Draws one triangle of three colours.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();

    // Attributes have the locations 0 and 1 in the order in which they are added.
    Pipeline pipeline = device.createPipeline();
    pipeline.setColorFormat(FormatRGBAu8n);
    pipeline.addAttribute(Pipeline::AttributePosition, FormatRGf32, 0, offsetof(Vertex, position), sizeof(Vertex));
    pipeline.addAttribute(Pipeline::AttributeColor, FormatRGBf32, 0, offsetof(Vertex, color), sizeof(Vertex));
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source) || !pipeline.create()) return 1;

    Texture texture = example.createTarget(512, 512);
    if(!texture) return 1;
    Target target = device.createTarget({texture});
    target.setClearColor(0.08f, 0.09f, 0.12f, 1.0f);
    if(!target.begin()) return 1;
    {
        // The recorder's last handle has to go before the target ends: hence the braces.
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.setVertices<Vertex>(0, {{Vector2f(0.0f, 0.75f), Vector3f(1.0f, 0.3f, 0.2f)},
                                        {Vector2f(-0.75f, -0.625f), Vector3f(0.2f, 0.9f, 0.4f)},
                                        {Vector2f(0.75f, -0.625f), Vector3f(0.25f, 0.4f, 1.0f)}});
        command.drawArrays(3);
    }
    if(!target.end()) return 1;
    return example.save(texture);
}
