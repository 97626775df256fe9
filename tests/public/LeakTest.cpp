// The whole way from GLSL text to a file, again and again: all memory comes back.

#include <Ostrevan.h>

#include <gtest/gtest.h>

using namespace Ostrevan;

static const char *const source = R"(
    layout(local_size_x = 8, local_size_y = 8) in;
    layout(std140, binding = 0) uniform Parameters { uvec2 size; };
    layout(std430, binding = 1) buffer Output { uint pixels[]; };
    struct Color { float r; float g; };
    Color get_color(vec2 p) { return Color(p.x, p.y); }
    void main() {
        uvec2 id = gl_GlobalInvocationID.xy;
        if(id.x >= size.x || id.y >= size.y) return;
        Color color = get_color(vec2(id) / vec2(size));
        pixels[id.y * size.x + id.x] = packUnorm4x8(vec4(color.r, color.g, SHADE, 1.0));
    })";

static void make_picture(bool fail) {
    Context context(PlatformVK);
    ASSERT_TRUE(context.create());
    Device device(context);
    Kernel kernel = device.createKernel();
    kernel.setUniforms(1).setStorages(1).setStorageOffset(1);
    ASSERT_EQ(kernel.createShaderGLSL(source, "SHADE=%s", fail ? "nothing" : "0.5"), !fail);
    if(fail) return;
    ASSERT_TRUE(kernel.create());
    const uint32_t size[] = {61, 33};
    Buffer pixels = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, size[0] * size[1] * 4);
    {
        Compute compute = device.createCompute();
        compute.setKernel(kernel);
        compute.setUniform(0, size);
        compute.setStorageBuffer(0, pixels);
        compute.dispatch(size[0], size[1]);
    }
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, size[0], size[1]));
    ASSERT_TRUE(device.getBuffer(pixels, image.getData()));
    Blob blob("memory.png");
    ASSERT_TRUE(image.save(blob));
    blob.seek(0);
    Image loaded;
    ASSERT_TRUE(loaded.load(blob));
    EXPECT_EQ(memcmp(loaded.getData(), image.getData(), image.getDataSize()), 0);
}

TEST(Leak, memory_comes_back) {
    const size_t memory = Allocator::getMemory();
    const size_t allocations = Allocator::getAllocations();
    Log::setCallback([](Log::Level, size_t, const char *, void *) { return true; });
    for(int i = 0; i < 3; i++) {
        make_picture(false);
        make_picture(true);
    }
    Log::setCallback(nullptr);
    EXPECT_EQ(Allocator::getMemory(), memory);
    EXPECT_EQ(Allocator::getAllocations(), allocations);
}
