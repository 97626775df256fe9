// Samplers, and what shaders see of textures of all types.

#include <array>
#include <string.h>

#include "TextureGpuTest.h"
#include "VKSampler.h"

using namespace Kolm;

// What shaders see: filters within a level and between levels, wrap modes, the faces of cubes, and what surfaces write.
class SamplerVKTest : public TextureGpuTest {
protected:
    /// Kernel that samples at coordinates and levels of binding 0 into binding 1.
    KernelPtr createSampling(const char *texture, const char *expression) {
        KernelPtr kernel(device->createKernel(nullptr));
        kernel->setSamplers(1);
        kernel->setTextures(1);
        kernel->setStorages(2);
        const std::string src = std::string(R"(#version 450
            layout(local_size_x = 1) in;
            layout(set = 0, binding = 0) uniform sampler in_sampler;
            layout(set = 1, binding = 0) uniform )") +
                                texture + R"( in_texture;
            layout(std430, set = 2, binding = 0) readonly buffer Places { vec4 places[]; };
            layout(std430, set = 2, binding = 1) writeonly buffer Results { float results[]; };
            void main() {
                vec4 p = places[gl_GlobalInvocationID.x];
                results[gl_GlobalInvocationID.x] = )" +
                                expression + R"(;
            })";
        if(kernel->createShaderGLSL(src.c_str()) && kernel->create()) return kernel;
        ADD_FAILURE() << "can't create kernel of\n" << src;
        return nullptr;
    }
    std::vector<float> sample(Kernel *kernel, Sampler *sampler, Texture *texture,
                              const std::vector<std::array<float, 4>> &places) {
        BufferPtr input(device->createBuffer(Buffer::FlagStorage, places.data(), places.size() * 16));
        BufferPtr output = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, places.size() * 4);
        {
            ComputePtr compute = createCompute();
            compute->setKernel(kernel);
            compute->setSampler(0, sampler);
            compute->setTexture(0, texture);
            compute->setStorageBuffer(0, input.get());
            compute->setStorageBuffer(1, output.get());
            compute->dispatch(uint32_t(places.size()));
        }
        std::vector<float> results(places.size(), -1.0f);
        EXPECT_TRUE(device->getBuffer(output.get(), 0, results.data(), results.size() * 4));
        return results;
    }
};

TEST_F(SamplerVKTest, filters_and_wraps) {
    // Pixels are 100 times their level, plus their column.
    TexturePtr texture = createTexture(Texture::Type2D, FormatRf32, Size(8, 8), 1, source | mipmaps);
    Image image = get_image(*texture);
    for(uint32_t level = 0; level < 4; level++) {
        for(uint32_t y = 0; y < image.getHeight(level); y++) {
            for(uint32_t x = 0; x < image.getWidth(level); x++) {
                const float value = float(level * 100 + x);
                memcpy(image.getData(Origin(x, y), Slice(Mipmap(level))), &value, 4);
            }
        }
    }
    ASSERT_TRUE(device->setTexture(texture.get(), image));
    KernelPtr kernel = createSampling("texture2D", "textureLod(sampler2D(in_texture, in_sampler), p.xy, p.w).x");
    ASSERT_TRUE(kernel);
    using S = Sampler;
    const auto repeat = S::WrapModeRepeat;
    const struct {
        const char *name;
        S::Filter filter;
        S::WrapMode wrap;
        float u, lod, result;
    } rows[] = {
        {"point", S::FilterPoint, repeat, 0.45f, 0.0f, 3.0f},
        {"point of a level", S::FilterPoint, repeat, 0.45f, 1.0f, 101.0f},
        {"bipoint, nearest level", S::FilterBipoint, repeat, 0.45f, 1.4f, 101.0f},
        {"bilinear between pixels", S::FilterBilinear, repeat, 0.5f, 0.0f, 3.5f},
        {"bilinear, nearest level", S::FilterBilinear, repeat, 0.5f, 1.4f, 101.5f},
        {"linear, two levels", S::FilterLinear, repeat, 0.5f, 0.5f, 52.5f},
        {"trilinear, two levels", S::FilterTrilinear, repeat, 0.5f, 1.25f, 126.25f},
        {"last level", S::FilterTrilinear, repeat, 0.5f, 9.0f, 300.0f},
        {"repeat", S::FilterPoint, S::WrapModeRepeat, 1.3f, 0.0f, 2.0f},
        {"clamp", S::FilterPoint, S::WrapModeClamp, 1.3f, 0.0f, 7.0f},
        {"mirror", S::FilterPoint, S::WrapModeMirror, 1.3f, 0.0f, 5.0f},
        {"border", S::FilterPoint, S::WrapModeBorder, 1.3f, 0.0f, 1.0f},
    };
    for(const auto &row : rows) {
        std::unique_ptr<Sampler> sampler(device->createSampler());
        sampler->setFilter(row.filter).setWrapMode(row.wrap).setBorderColor(Color(1.0f, 1.0f, 1.0f, 1.0f));
        ASSERT_TRUE(sampler->create());
        const auto result = sample(kernel.get(), sampler.get(), texture.get(), {{row.u, 0.5f, 0.0f, row.lod}});
        EXPECT_NEAR(result[0], row.result, 0.05f) << row.name;
    }
    if(!getAdapter()->has_sampler_filter_minmax_ext) return;
    allowLog("VUID-VkSamplerCreateInfo-pNext-06726");
    // Of pixels 3 and 4, whatever their weights are.
    for(const auto mode : {S::ReductionModeMin, S::ReductionModeMax}) {
        std::unique_ptr<Sampler> sampler(device->createSampler());
        sampler->setReductionMode(mode);
        ASSERT_TRUE(sampler->create());
        const auto result = sample(kernel.get(), sampler.get(), texture.get(), {{0.45f, 0.5f, 0.0f, 0.0f}});
        EXPECT_EQ(result[0], (mode == S::ReductionModeMin) ? 3.0f : 4.0f);
    }
}

// +X, -X, +Y, -Y, +Z, -Z, also in an array; slices of 3D in their order; depth against a reference.
TEST_F(SamplerVKTest, types) {
    TexturePtr cube = createTexture(Texture::TypeCube, FormatRf32, Size(4, 4), 2, source);
    TexturePtr volume = createTexture(Texture::Type3D, FormatRf32, Size(4, 4, 4), 1, source);
    TexturePtr layers = createTexture(Texture::Type2D, FormatRf32, Size(4, 4), 3, source);
    TexturePtr depth = createTexture(Texture::Type2D, FormatDf32, Size(4, 4), 1, source);
    ASSERT_TRUE(cube && volume && layers && depth);
    for(uint32_t i = 0; i < 12; i++) {
        const float value = float(i);
        ASSERT_TRUE(device->clearTexture(cube.get(), Slice(Face(i % 6), Layer(i / 6)), &value));
        if(i < 4) {
            ASSERT_TRUE(device->clearTexture(volume.get(), Region(0, 0, i, 4, 4, 1), &value));
        }
        if(i < 3) {
            ASSERT_TRUE(device->clearTexture(layers.get(), Slice(Layer(i)), &value));
        }
    }
    const float half = 0.5f;
    ASSERT_TRUE(device->clearTexture(depth.get(), &half));
    std::unique_ptr<Sampler> sampler(device->createSampler(Sampler::FilterPoint, Sampler::WrapModeClamp));
    std::unique_ptr<Sampler> compare(device->createSampler());
    compare->setFilter(Sampler::FilterPoint).setCompareFunc(Sampler::CompareFuncLess);
    ASSERT_TRUE(sampler && compare->create());
    const struct {
        const char *name, *type, *expression;
        Sampler *sampler;
        Texture *texture;
        std::vector<std::array<float, 4>> places;
        std::vector<float> results;
    } rows[] = {
        {"cubes",
         "textureCubeArray",
         "textureLod(samplerCubeArray(in_texture, in_sampler), p, 0.0).x",
         sampler.get(),
         cube.get(),
         {{1, 0, 0, 0}, {-1, 0, 0, 0}, {0, 1, 0, 0}, {0, -1, 0, 0}, {0, 0, 1, 0}, {0, 0, -1, 1}},
         {0, 1, 2, 3, 4, 11}},
        {"3D",
         "texture3D",
         "textureLod(sampler3D(in_texture, in_sampler), p.xyz, 0.0).x",
         sampler.get(),
         volume.get(),
         {{0.5f, 0.5f, 0.1f, 0}, {0.5f, 0.5f, 0.6f, 0}, {0.5f, 0.5f, 0.9f, 0}},
         {0, 2, 3}},
        {"layers",
         "texture2DArray",
         "textureLod(sampler2DArray(in_texture, in_sampler), p.xyz, 0.0).x",
         sampler.get(),
         layers.get(),
         {{0.5f, 0.5f, 0, 0}, {0.5f, 0.5f, 2, 0}},
         {0, 2}},
        {"depth",
         "texture2D",
         "textureLod(sampler2D(in_texture, in_sampler), p.xy, 0.0).x",
         sampler.get(),
         depth.get(),
         {{0.5f, 0.5f, 0, 0}},
         {0.5f}},
        {"reference",
         "texture2D",
         "textureLod(sampler2DShadow(in_texture, in_sampler), p.xyz, 0.0)",
         compare.get(),
         depth.get(),
         {{0.5f, 0.5f, 0.4f, 0}, {0.5f, 0.5f, 0.6f, 0}},
         {1, 0}},
    };
    for(const auto &row : rows) {
        KernelPtr kernel = createSampling(row.type, row.expression);
        ASSERT_TRUE(kernel) << row.name;
        EXPECT_EQ(sample(kernel.get(), row.sampler, row.texture, row.places), row.results) << row.name;
    }
}

// Each level of a surface is written from the one above it, and then read as a texture.
TEST_F(SamplerVKTest, surfaces) {
    TexturePtr texture =
        createTexture(Texture::Type2D, FormatRf32, Size(16, 16), 1, source | mipmaps | Texture::FlagSurface);
    ASSERT_TRUE(texture);
    Image image(Image::Type2D, FormatRf32, Size(16, 16));
    for(uint32_t i = 0; i < 256; i++) {
        const float value = float(random() % 1024);
        memcpy(image.getData() + i * 4, &value, 4);
    }
    ASSERT_TRUE(device->setTexture(texture.get(), Origin(), Slice(), image, Slice()));
    KernelPtr kernel(device->createKernel(nullptr));
    kernel->setSurfaces(2);
    const char *src = R"(#version 450
        layout(local_size_x = 4, local_size_y = 4) in;
        layout(set = 0, binding = 0, r32f) readonly uniform image2D src;
        layout(set = 0, binding = 1, r32f) writeonly uniform image2D dest;
        void main() {
            ivec2 p = ivec2(gl_GlobalInvocationID.xy);
            if(any(greaterThanEqual(p, imageSize(dest)))) return;
            float sum = 0.0;
            for(int i = 0; i < 4; i++) sum += imageLoad(src, p * 2 + ivec2(i & 1, i >> 1)).x;
            imageStore(dest, p, vec4(sum * 0.25));
        })";
    ASSERT_TRUE(kernel->createShaderGLSL(src) && kernel->create());
    {
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        for(uint32_t level = 1; level < texture->getMipmaps(); level++) {
            compute->setSurfaceTexture(0, texture.get(), Slice(Mipmap(level - 1)));
            compute->setSurfaceTexture(1, texture.get(), Slice(Mipmap(level)));
            compute->dispatch(texture->getWidth(level), texture->getHeight(level));
            compute->barrier(texture.get());
        }
    }
    const Image expected = image.getMipmapped(Image::FilterBox), result = read(texture);
    const float *a = reinterpret_cast<const float *>(expected.getData());
    const float *b = reinterpret_cast<const float *>(result.getData());
    for(size_t i = 0; i < expected.getDataSize() / 4; i++) ASSERT_NEAR(a[i], b[i], 0.01f) << i;
}

TEST_F(SamplerVKTest, parameters) {
    using S = Sampler;
    uint32_t num = 0;
    for(uint32_t filter = 0; filter < S::NumFilters; filter++) {
        for(uint32_t wrap = 0; wrap < S::NumWrapModes; wrap++) {
            std::unique_ptr<Sampler> sampler(device->createSampler(S::Filter(filter), S::WrapMode(wrap)));
            ASSERT_TRUE(sampler && static_cast<VKSampler *>(sampler.get())->getSampler());
            num++;
        }
    }
    for(uint32_t i = 0; i < 16; i++) {
        std::unique_ptr<Sampler> sampler(device->createSampler());
        sampler->setCompareFunc(S::CompareFunc(i % S::NumCompareFunctions)).setAnisotropy(i + 1);
        sampler->setLod(-1e30f, float(i), 100.0f - float(i) * 20.0f).setBorderColor(Color(1.0f, 1.0f, 1.0f, 1.0f));
        ASSERT_TRUE(sampler->create());
        // Parameters stay, and the sampler can be made again.
        device->releaseSampler(sampler.get());
        EXPECT_FALSE(sampler->isCreated());
        EXPECT_EQ(sampler->getAnisotropy(), i + 1);
        ASSERT_TRUE(sampler->create());
        std::unique_ptr<Sampler> other(device->createSampler(sampler.get()));
        EXPECT_FALSE(other->isCreated());
        EXPECT_EQ(other->getLodMax(), float(i));
    }
    // Older layers know the feature of Vulkan 1.2 alone, which the extension stands for.
    allowLog("VUID-VkSamplerCreateInfo-pNext-06726");
    for(const bool compare : {false, true}) {
        std::unique_ptr<Sampler> sampler(device->createSampler());
        sampler->setReductionMode(S::ReductionModeMax);
        if(compare) sampler->setCompareFunc(S::CompareFuncLess);
        EXPECT_EQ(sampler->create(), !compare && getAdapter()->has_sampler_filter_minmax_ext);
    }
    expectLog("VKSampler::create(): can't create sampler");
}
