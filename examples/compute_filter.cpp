// A separable Gaussian blur: rows first, then columns, with a barrier between the two passes.
// Usage: compute_filter IN.png OUT.png [RADIUS]

#include <Ostrevan.h>

#include <stdlib.h>

using namespace Ostrevan;

static const char *const source = R"(
    layout(local_size_x = 16, local_size_y = 16) in;
    layout(std140, binding = 0) uniform Parameters { ivec2 size; ivec2 step; int radius; };
    layout(std430, binding = 1) readonly buffer Source { uint source[]; };
    layout(std430, binding = 2) buffer Result { uint result[]; };
    void main() {
        ivec2 id = ivec2(gl_GlobalInvocationID.xy);
        if(id.x >= size.x || id.y >= size.y) return;
        vec4 sum = vec4(0.0);
        float weights = 0.0;
        for(int i = -radius; i <= radius; i++) {
            ivec2 p = clamp(id + step * i, ivec2(0), size - 1);
            float x = float(i) / (float(radius) * 0.5 + 0.001);
            float weight = exp(-0.5 * x * x);
            sum += unpackUnorm4x8(source[p.y * size.x + p.x]) * weight;
            weights += weight;
        }
        result[id.y * size.x + id.x] = packUnorm4x8(sum / weights);
    })";

int main(int argc, char **argv) {
    if(argc < 3) {
        Log::print("Usage: compute_filter IN.png OUT.png [RADIUS]\n");
        return 2;
    }
    Image image(argv[1]);
    if(image && image.getFormat() != FormatRGBAu8n) image = image.toFormat(FormatRGBAu8n);
    if(!image) return 1;

    Context context(PlatformAny);
    if(!context.create()) return 1;
    Device device(context);
    Kernel kernel = device.createKernel();
    kernel.setUniforms(1).setStorages(2).setStorageOffset(1);
    if(!kernel.createShaderGLSL(source) || !kernel.create()) return 1;

    const int32_t width = int32_t(image.getWidth()), height = int32_t(image.getHeight());
    const int32_t radius = (argc > 3) ? atoi(argv[3]) : 8;
    const Buffer::Flags flags = Buffer::FlagStorage | Buffer::FlagSource;
    Buffer first = device.createBuffer(flags, image.getData(), image.getDataSize());
    Buffer second = device.createBuffer(flags, image.getDataSize());
    if(!first || !second) return 1;

    struct Parameters {
        int32_t width, height;
        int32_t step_x, step_y;
        int32_t radius, padding[3];
    };
    {
        Compute compute = device.createCompute();
        compute.setKernel(kernel);

        compute.setUniform(0, Parameters{width, height, 1, 0, radius, {}});
        compute.setStorageBuffers(0, {first, second});
        compute.dispatch(uint32_t(width), uint32_t(height));

        // The second pass reads what the first one wrote, and writes what the first one read.
        compute.barrier({first, second});

        compute.setUniform(0, Parameters{width, height, 0, 1, radius, {}});
        compute.setStorageBuffers(0, {second, first});
        compute.dispatch(uint32_t(width), uint32_t(height));
    }
    if(!device.getBuffer(first, image.getData())) return 1;
    return image.save(argv[2]) ? 0 : 1;
}
