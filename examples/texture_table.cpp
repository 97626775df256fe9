// Sixteen textures in one table and sixteen buffers in another: each pixel chooses from both by the hexagon in which it
// lies, without any change of what is bound.

#include "Example.h"

using namespace Ostrevan;

static const char *const vertex_source = R"(
    void main() {
        vec2 p = vec2(float((gl_VertexIndex & 1) * 4), float((gl_VertexIndex >> 1) * 4)) - 1.0;
        gl_Position = vec4(p, 0.0, 1.0);
    })";

// Pixels next to each other have other indices: nonuniformEXT is needed. Each table is a set, behind those of the rest.
static const char *const fragment_source = R"(
    #extension GL_EXT_nonuniform_qualifier : require
    layout(set = 0, binding = 0) uniform sampler in_sampler;
    layout(set = 1, binding = 0) uniform texture2D textures[SIZE];
    layout(std430, set = 2, binding = 0) readonly buffer Color { vec4 dark; vec4 light; } colors[SIZE];
    layout(location = 0) out vec4 out_color;
    void main() {
        // The nearest middle of two grids of rectangles that are half a rectangle apart.
        vec2 grid = vec2(96.0, 166.277), p = gl_FragCoord.xy;
        vec2 a = floor(p / grid) + 0.5, b = floor(p / grid + 0.5);
        bool is_first = distance(p, a * grid) < distance(p, b * grid);
        vec2 cell = is_first ? a : b;
        vec2 offset = p - cell * grid;
        vec2 q = abs(offset);
        float border = 48.0 - max(q.x, q.x * 0.5 + q.y * 0.866025);

        uvec2 number = uvec2(cell * 2.0);
        uint index = (number.x * 5u + number.y * 3u + number.x * number.y) % uint(SIZE);
        uint color_index = (number.x * 7u + number.y * 4u) % uint(SIZE);
        float value = textureLod(sampler2D(textures[nonuniformEXT(index)], in_sampler), offset / 96.0 + 0.5, 0.0).x;
        vec3 color = mix(colors[nonuniformEXT(color_index)].dark, colors[nonuniformEXT(color_index)].light, value).xyz;
        out_color = vec4(color * clamp(border * 0.5, 0.12, 1.0), 1.0);
    })";

// Stripes, rings, squares and spokes, each in four numbers.
static uint8_t get_value(uint32_t index, float32_t x, float32_t y) {
    const float32_t num = float32_t(index / 4 + 2);
    const float32_t radius = Math::sqrt(x * x + y * y);
    float32_t value = 0.0f;
    switch(index % 4) {
    case 0: value = (x + y) * num; break;
    case 1: value = radius * num * 1.5f; break;
    case 2: value = Math::floor(x * num) * 0.5f + Math::floor(y * num) * 0.5f; break;
    default: value = float32_t(Math::atan2(y, x) / 360.0) * num * 2.0f; break;
    }
    value -= Math::floor(value);
    if(index % 4 == 2) return (value < 0.25f) ? 40 : 215;
    return uint8_t(255.0f * Math::abs(value * 2.0f - 1.0f));
}

int main(int argc, char **argv) {
    Example example("texture_table", "Draws hexagons whose textures come from a table.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    if(!device.getFeatures().textureTable) return example.fail("the device has no tables of textures");
    if(!device.getFeatures().bufferTable) return example.fail("the device has no tables of buffers");
    constexpr uint32_t num = 16, size = 128;

    // What goes into the tables with owner belongs to them.
    TextureTable texture_table = device.createTextureTable(Texture::Type2D, num);
    BufferTable buffer_table = device.createBufferTable(num);
    if(!texture_table || !buffer_table) return 1;
    Image image;
    if(!image.create2D(FormatRu8n, size, size)) return 1;
    for(uint32_t i = 0; i < num; i++) {
        for(uint32_t j = 0; j < size * size; j++) {
            const float32_t x = float32_t(j % size) * 2.0f / size - 1.0f, y = float32_t(j / size) * 2.0f / size - 1.0f;
            image.getData()[j] = get_value(i, x, y);
        }
        const float32_t hue = float32_t(i) / num;
        const Vector4f light(0.6f + 0.4f * hue, 0.95f - 0.5f * hue, 0.5f + 0.45f * (1.0f - hue) * (i & 1), 1.0f);
        const Vector4f colors[2] = {light * 0.22f, light};
        Texture texture = device.createTexture(image);
        Buffer buffer = device.createBuffer(Buffer::FlagStorage, colors, sizeof(colors));
        if(!texture || !device.setTextureTable(texture_table, i, texture, true)) return 1;
        if(!buffer || !device.setBufferTable(buffer_table, i, buffer, true)) return 1;
    }
    Sampler sampler = device.createSampler(Sampler::FilterLinear, Sampler::WrapModeClamp);
    if(!sampler) return 1;

    Pipeline pipeline = device.createPipeline();
    pipeline.setColorFormat(FormatRGBAu8n);
    pipeline.setSamplerMask(0, Shader::MaskFragment);
    pipeline.addTable(Pipeline::TableTypeTexture, num, Shader::MaskFragment);
    pipeline.addTable(Pipeline::TableTypeStorage, num, Shader::MaskFragment);
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source, "SIZE=%u", num) || !pipeline.create())
        return 1;

    Texture picture = example.createTarget(512, 512);
    if(!picture) return 1;
    Target target = device.createTarget({picture});
    if(!target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.setSampler(0, sampler);
        command.setTextureTable(0, texture_table);
        command.setStorageTable(1, buffer_table);
        command.drawArrays(3);
    }
    if(!target.end()) return 1;
    return example.save(picture);
}
