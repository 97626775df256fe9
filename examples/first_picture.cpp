// GLSL text to a PNG file. Usage: first_picture [OUT.png]

#include <Ostrevan.h>

using namespace Ostrevan;

static const char *const source = R"(
    layout(local_size_x = 8, local_size_y = 8) in;
    layout(std140, binding = 0) uniform Parameters { uvec2 size; };
    layout(std430, binding = 1) buffer Output { uint pixels[]; };
    void main() {
        uvec2 id = gl_GlobalInvocationID.xy;
        vec2 p = vec2(id) / vec2(size) * 2.0 - 1.0;
        float rings = 0.5 + 0.5 * sin(length(p) * 40.0);
        pixels[id.y * size.x + id.x] = packUnorm4x8(vec4(rings, p * 0.5 + 0.5, 1.0));
    })";

int main(int argc, char **argv) {
    const uint32_t size[] = {512, 512};
    Context context(PlatformAny);
    if(!context.create()) return 1;
    Device device(context);
    Kernel kernel = device.createKernel();
    kernel.setUniforms(1).setStorages(1).setStorageOffset(1);
    if(!kernel.createShaderGLSL(source) || !kernel.create()) return 1;
    Buffer pixels = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, size[0] * size[1] * 4);
    {
        Compute compute = device.createCompute();
        compute.setKernel(kernel);
        compute.setUniform(0, size);
        compute.setStorageBuffer(0, pixels);
        compute.dispatch(size[0], size[1]);
    }
    Image image;
    image.create2D(FormatRGBAu8n, size[0], size[1]);
    if(!device.getBuffer(pixels, image.getData())) return 1;
    return image.save(argc > 1 ? argv[1] : "first_picture.png") ? 0 : 1;
}
