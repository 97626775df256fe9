// Cubes on a floor: indexed triangles, a depth buffer, matrices of the math library, and a texture that is made here
// and gets its mipmaps on the device.

#include "Example.h"

using namespace Ostrevan;

// Sets are dense over the kinds in use: samplers are set 0, textures set 1 and uniforms set 2.
static const char *const vertex_source = R"(
    layout(location = 0) in vec3 in_position;
    layout(location = 1) in vec3 in_normal;
    layout(location = 2) in vec2 in_texcoord;
    layout(std140, set = 2, binding = 0) uniform Parameters { mat4 projection; mat4 transform; vec4 color; };
    layout(location = 0) out vec3 normal;
    layout(location = 1) out vec2 texcoord;
    void main() {
        gl_Position = projection * transform * vec4(in_position, 1.0);
        normal = (transform * vec4(in_normal, 0.0)).xyz;
        texcoord = in_texcoord * color.w;
    })";

static const char *const fragment_source = R"(
    layout(location = 0) in vec3 normal;
    layout(location = 1) in vec2 texcoord;
    layout(set = 0, binding = 0) uniform sampler in_sampler;
    layout(set = 1, binding = 0) uniform texture2D in_texture;
    layout(std140, set = 2, binding = 0) uniform Parameters { mat4 projection; mat4 transform; vec4 color; };
    layout(location = 0) out vec4 out_color;
    void main() {
        float light = 0.35 + 0.65 * max(dot(normalize(normal), normalize(vec3(0.5, 1.0, 0.8))), 0.0);
        out_color = vec4(texture(sampler2D(in_texture, in_sampler), texcoord).xyz * color.xyz * light, 1.0);
    })";

struct Vertex {
    Vector3f position;
    Vector3f normal;
    Vector2f texcoord;
};
struct Parameters {
    Matrix4x4f projection;
    Matrix4x4f transform;
    Vector4f color; // and how often the texture repeats
};

// Six faces of four vertices, counter-clockwise from outside.
static void create_cube(Array<Vertex> &vertices, Array<uint16_t> &indices) {
    for(uint32_t face = 0; face < 6; face++) {
        const float32_t side = (face & 1) ? -1.0f : 1.0f;
        Vector3f normal, s, t;
        normal[face / 2] = side;
        s[(face / 2 + 1) % 3] = side;
        t[(face / 2 + 2) % 3] = 1.0f;
        for(uint32_t i = 0; i < 4; i++) {
            const float32_t x = (i == 1 || i == 2) ? 1.0f : -1.0f, y = (i < 2) ? -1.0f : 1.0f;
            vertices.append({normal + s * x + t * y, normal, Vector2f(x * 0.5f + 0.5f, y * 0.5f + 0.5f)});
        }
        for(uint16_t i : {0, 1, 2, 2, 3, 0}) indices.append(uint16_t(face * 4 + i));
    }
}

// A frame around a checkerboard of 4 by 4 squares.
static bool create_image(Image &image, uint32_t size) {
    if(!image.create2D(FormatRGBAu8n, size, size)) return false;
    for(uint32_t i = 0; i < size * size; i++) {
        const uint32_t x = i % size, y = i / size, border = size / 16;
        const bool frame = x < border || y < border || x >= size - border || y >= size - border;
        const uint8_t value = frame ? 70 : ((x * 4 / size + y * 4 / size) & 1) ? 255 : 175;
        for(uint32_t j = 0; j < 4; j++) image.getData()[i * 4 + j] = (j == 3) ? 255 : value;
    }
    return true;
}

int main(int argc, char **argv) {
    Example example("textured_cube", "Draws textured cubes with depth and mipmaps.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    constexpr uint32_t size = 512;

    Array<Vertex> vertices;
    Array<uint16_t> indices;
    create_cube(vertices, indices);
    Buffer vertex_buffer = device.createBuffer(Buffer::FlagVertex, vertices.get(), vertices.bytes());
    Buffer index_buffer = device.createBuffer(Buffer::FlagIndex, indices.get(), indices.bytes());
    Image image;
    if(!vertex_buffer || !index_buffer || !create_image(image, 256)) return 1;
    // The first level comes from the image, each further one is made from the one before it.
    Texture pattern = device.createTexture2D(FormatRGBAu8n, 256, Texture::FlagMipmaps | Texture::FlagSource);
    Sampler sampler = device.createSampler(Sampler::FilterTrilinear);
    if(!pattern || !sampler || !device.setTexture(pattern, Origin(), Slice(), image, Slice())) return 1;
    if(!device.createMipmaps(pattern)) return 1;

    Pipeline pipeline = device.createPipeline();
    pipeline.addAttribute(Pipeline::AttributePosition, FormatRGBf32, 0, offsetof(Vertex, position), sizeof(Vertex));
    pipeline.addAttribute(Pipeline::AttributeNormal, FormatRGBf32, 0, offsetof(Vertex, normal), sizeof(Vertex));
    pipeline.addAttribute(Pipeline::AttributeTexCoord, FormatRGf32, 0, offsetof(Vertex, texcoord), sizeof(Vertex));
    pipeline.setSamplerMask(0, Shader::MaskFragment).setTextureMask(0, Shader::MaskFragment);
    pipeline.setUniformMask(0, Shader::MaskVertex | Shader::MaskFragment);
    pipeline.setColorFormat(FormatRGBAu8n).setDepthFormat(FormatDf32);
    pipeline.setDepthFunc(Pipeline::DepthFuncLess).setDepthMask(Pipeline::DepthMaskWrite);
    pipeline.setCullMode(Pipeline::CullModeBack);
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source) || !pipeline.create()) return 1;

    Texture color = example.createTarget(size, size);
    Texture depth = device.createTexture2D(FormatDf32, size, size, Texture::FlagTarget);
    if(!color || !depth) return 1;
    Target target = device.createTarget({color, depth});
    target.setClearColor(0.62f, 0.74f, 0.85f, 1.0f);
    target.setClearDepth(1.0f);

    const Matrix4x4f view =
        Matrix4x4f::lookAt(Vector3f(4.0f, 4.5f, 8.0f), Vector3f(0.2f, 0.6f, 0.0f), Vector3f(0.0f, 1.0f, 0.0f));
    const Matrix4x4f projection = Matrix4x4f::perspective(50.0, 1.0, 0.1, 100.0) * view;
    if(!target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.setSampler(0, sampler);
        command.setTexture(0, pattern);
        command.setVertexBuffer(0, vertex_buffer);
        command.setIndexBuffer(FormatRu16, index_buffer);
        const auto draw = [&](const Matrix4x4f &transform, const Vector4f &parameters) {
            command.setUniform(0, Parameters{projection, transform, parameters});
            command.drawElements(indices.size());
        };
        draw(Matrix4x4f::translate(Vector3f(0.0f, -2.0f, 0.0f)) * Matrix4x4f::scale(Vector3f(40.0f, 1.0f, 40.0f)),
             Vector4f(0.75f, 0.8f, 0.7f, 40.0f));
        const Vector4f colors[] = {Vector4f(1.0f, 0.5f, 0.3f, 1.0f), Vector4f(0.4f, 0.7f, 1.0f, 1.0f),
                                   Vector4f(1.0f, 0.85f, 0.35f, 1.0f)};
        for(uint32_t i = 0; i < 3; i++) {
            const Vector3f position(float32_t(i) * 2.2f - 2.2f, 0.0f, float32_t(i) * 1.8f - 1.8f);
            draw(Matrix4x4f::translate(position) * Matrix4x4f::rotateY(20.0 + 25.0 * i), colors[i]);
        }
    }
    if(!target.end()) return 1;
    return example.save(color);
}
