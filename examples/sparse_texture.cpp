// A texture of 8192 by 8192 pixels, 256 MiB if it were whole: only the tiles along a spiral get memory and pixels. All
// of it is shown, with a line between the tiles.

#include "Example.h"

using namespace Ostrevan;

static const char *const vertex_source = R"(
    layout(location = 0) out vec2 texcoord;
    void main() {
        texcoord = vec2(float((gl_VertexIndex & 1) * 2), float((gl_VertexIndex >> 1) * 2));
        gl_Position = vec4(texcoord.x * 2.0 - 1.0, 1.0 - texcoord.y * 2.0, 0.0, 1.0);
    })";

// What is read without memory is up to the device, so a list tells which tiles have some.
static const char *const fragment_source = R"(
    layout(location = 0) in vec2 texcoord;
    layout(set = 0, binding = 0) uniform texture2D in_texture;
    layout(std140, set = 1, binding = 0) uniform Parameters { uvec2 tile; uint columns; uint size; };
    layout(std430, set = 1, binding = 1) readonly buffer Tiles { uint tiles[]; };
    layout(location = 0) out vec4 out_color;
    void main() {
        uvec2 p = uvec2(texcoord * float(size));
        uvec2 number = p / tile, inside = p - number * tile;
        vec3 color = vec3(0.11, 0.12, 0.15);
        if(tiles[number.y * columns + number.x] != 0u) color = texelFetch(in_texture, ivec2(p), 0).xyz;
        if(inside.x < 16u || inside.y < 16u) color *= 0.7;
        out_color = vec4(color, 1.0);
    })";

int main(int argc, char **argv) {
    Example example("sparse_texture", "Shows a large texture of which some tiles have memory.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    if(!device.getFeatures().sparseTexture) return example.fail("the device has no sparse textures");
    constexpr uint32_t size = 8192;

    Texture texture = device.createTexture2D(FormatRGBAu8n, size, Texture::FlagSparse);
    if(!texture) return example.fail("the device has no sparse textures of this size");
    const uint32_t width = texture.getTileWidth(), height = texture.getTileHeight();
    const uint32_t columns = (size + width - 1) / width, rows = (size + height - 1) / height;

    // A tile gets memory if it is near to a spiral around the middle.
    Array<uint32_t> tiles;
    Image image;
    if(!image.create2D(FormatRGBAu8n, width, height)) return 1;
    for(uint32_t i = 0; i < columns * rows; i++) {
        const uint32_t column = i % columns, row = i / columns;
        const float32_t x = (float32_t(column) + 0.5f) * 2.0f / columns - 1.0f;
        const float32_t y = (float32_t(row) + 0.5f) * 2.0f / rows - 1.0f;
        const float32_t radius = Math::sqrt(x * x + y * y);
        const float32_t turns = radius * 3.0f - float32_t(Math::atan2(y, x) / 360.0);
        const float32_t offset = turns - Math::floor(turns + 0.5f);
        const bool is_bound = (Math::abs(offset) < 0.2f && radius < 0.95f);
        tiles.append(is_bound);
        if(!is_bound) continue;

        // Colours by the place of the tile, brighter along its diagonal.
        for(uint32_t j = 0; j < width * height; j++) {
            const float32_t shade =
                0.55f + 0.45f * (float32_t(j % width) / width + float32_t(j / width) / height) * 0.5f;
            uint8_t *pixel = image.getData() + j * 4;
            pixel[0] = uint8_t((140.0f + 110.0f * x) * shade);
            pixel[1] = uint8_t((170.0f - 60.0f * x * y) * shade);
            pixel[2] = uint8_t((140.0f + 110.0f * y) * shade);
            pixel[3] = 255;
        }
        const Origin origin(column * width, row * height, 0);
        if(!device.bindTexture(texture, Region(origin, Size(width, height)), Slice(), true)) return 1;
        if(!device.setTexture(texture, origin, Slice(), image, Slice())) return 1;
    }

    Pipeline pipeline = device.createPipeline();
    pipeline.setColorFormat(FormatRGBAu8n);
    pipeline.setTextureMask(0, Shader::MaskFragment);
    pipeline.setUniformMask(0, Shader::MaskFragment);
    pipeline.setStorageMask(0, Shader::MaskFragment, Pipeline::BindFlagRead).setStorageOffset(1);
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source) || !pipeline.create()) return 1;

    Texture picture = example.createTarget(512, 512);
    if(!picture) return 1;
    Target target = device.createTarget({picture});
    if(!target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.setTexture(0, texture);
        const uint32_t parameters[4] = {width, height, columns, size};
        command.setUniform(0, parameters);
        command.setStorageData(0, tiles.get(), tiles.bytes());
        command.drawArrays(3);
    }
    if(!target.end()) return 1;
    return example.save(picture);
}
