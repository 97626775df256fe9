// Conditional rendering: the device decides which dispatches run. A first kernel writes one word for each tile of the
// picture; the dispatch of a tile runs if its word is not 0, without the host knowing.

#include "Example.h"

using namespace Ostrevan;

constexpr uint32_t tile_size = 32; // pixels
constexpr uint32_t num_tiles = 16; // on each side
constexpr uint32_t size = tile_size * num_tiles;

// A tile is drawn if the circle goes through it.
static const char *const decide_source = R"(
    layout(local_size_x = 8, local_size_y = 8) in;
    layout(std430, binding = 0) buffer Conditions { uint conditions[]; };
    void main() {
        uvec2 tile = gl_GlobalInvocationID.xy;
        vec2 near = max(abs(vec2(tile) + 0.5f - 8.0f) - 0.5f, vec2(0.0f));
        vec2 far = abs(vec2(tile) + 0.5f - 8.0f) + 0.5f;
        conditions[tile.y * 16u + tile.x] = (length(near) < 6.0f && length(far) > 6.0f) ? 1u : 0u;
    })";

static const char *const tile_source = R"(
    layout(local_size_x = 8, local_size_y = 8) in;
    layout(std140, binding = 0) uniform Parameters { uvec2 tile; };
    layout(std430, binding = 1) buffer Output { uint pixels[]; };
    void main() {
        uvec2 id = tile * 32u + gl_GlobalInvocationID.xy;
        float d = abs(length(vec2(id) + 0.5f - 256.0f) / 32.0f - 6.0f);
        vec3 color = mix(vec3(1.0f, 0.8f, 0.2f), vec3(0.2f, 0.3f, 0.6f), clamp(d * 2.0f, 0.0f, 1.0f));
        pixels[id.y * 512u + id.x] = packUnorm4x8(vec4(color, 1.0f));
    })";

int main(int argc, char **argv) {
    Example example("conditional", "Skips the work that a kernel found to be unneeded.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    if(!device.getFeatures().conditionalRendering) return example.fail("the device has no conditional rendering");
    Kernel decide = device.createKernel();
    decide.setStorages(1);
    if(!decide.createShaderGLSL(decide_source) || !decide.create()) return 1;
    Kernel draw = device.createKernel();
    draw.setUniforms(1).setStorages(1).setStorageOffset(1);
    if(!draw.createShaderGLSL(tile_source) || !draw.create()) return 1;

    Buffer conditions =
        device.createBuffer(Buffer::FlagStorage | Buffer::FlagConditional, num_tiles * num_tiles * sizeof(uint32_t));
    Buffer pixels = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, size * size * 4);
    if(!conditions || !pixels) return 1;
    const uint32_t background = 0xFF202020;
    if(!device.clearBuffer(pixels, FormatRu32, &background)) return 1;
    {
        Compute compute = device.createCompute();
        compute.setKernel(decide);
        compute.setStorageBuffer(0, conditions);
        compute.dispatch(num_tiles, num_tiles);

        compute.setKernel(draw);
        compute.setStorageBuffer(0, pixels);
        for(uint32_t i = 0; i < num_tiles * num_tiles; i++) {
            compute.beginConditional(conditions, i * sizeof(uint32_t));
            const uint32_t tile[2] = {i % num_tiles, i / num_tiles};
            compute.setUniform(0, tile);
            compute.dispatch(tile_size, tile_size);
            compute.endConditional();
        }
    }
    Image image;
    image.create2D(FormatRGBAu8n, size, size);
    return device.getBuffer(pixels, image.getData()) ? example.save(image) : 1;
}
