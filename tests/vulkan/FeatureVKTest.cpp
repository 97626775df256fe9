// Features of shaders that few devices share: each is asked for, used once, and what came out is looked at.

#include "DrawTest.h"

using namespace Kolm;

class FeatureVKTest : public DrawTest {
protected:
    static constexpr const char *cover_vertex = R"(#version 450
        void main() {
            gl_Position = vec4(float(gl_VertexIndex & 1) * 4.0 - 1.0, float(gl_VertexIndex >> 1) * 4.0 - 1.0, 0.0, 1.0);
        })";
    static constexpr Texture::Flags surface_flags =
        Texture::Flags(uint32_t(Texture::FlagSurface) | Texture::FlagSource);
};

TEST_F(FeatureVKTest, layers_from_vertex_shaders) {
    if(!device->getFeatures().vertexIndexLayer) GTEST_SKIP() << "no layers from vertex shaders";
    TexturePtr texture(device->createTexture(Texture::Type2D, FormatRGBAu8n, Size(4, 4), 3, target_flags));
    TargetPtr target(device->createTarget());
    target->setColorTexture(texture.get(), Target::OpClearStore, Layer(0, 3));
    PipelinePtr pipeline = createPipeline({{Shader::TypeVertex, R"(#version 450
        #extension GL_ARB_shader_viewport_layer_array : require
        layout(location = 0) flat out int s_value;
        void main() {
            s_value = gl_InstanceIndex;
            gl_Layer = gl_InstanceIndex;
            gl_Position = vec4(float(gl_VertexIndex & 1) * 4.0 - 1.0, float(gl_VertexIndex >> 1) * 4.0 - 1.0, 0.0, 1.0);
        })"},
                                           {Shader::TypeFragment, R"(#version 450
        layout(location = 0) flat in int s_value;
        layout(location = 0) out vec4 out_color;
        void main() { out_color = vec4(float(s_value + 1) / 255.0); })"}});
    ASSERT_TRUE(pipeline);
    draw(target, [&](Command &command) {
        command.setPipeline(pipeline.get());
        command.drawArraysInstanced(3, 0, 3, 0);
    });
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, 4, 4, 3));
    ASSERT_TRUE(device->getTexture(texture.get(), image));
    for(uint32_t i = 0; i < 3; i++) {
        EXPECT_EQ(image.getData(Slice(Layer(i)))[0], i + 1);
        EXPECT_EQ(image.getData(Slice(Layer(i)))[63], i + 1);
    }
}

TEST_F(FeatureVKTest, stencil_from_fragment_shaders) {
    if(!device->getFeatures().fragmentStencilExport) GTEST_SKIP() << "no stencil from fragment shaders";
    TexturePtr color = createTexture(FormatRGBAu8n, 8, 1);
    TexturePtr depth = createTexture(FormatDf32Su8, 8, 1);
    const auto describe = [](Pipeline::StencilFunc func, Pipeline::StencilOp op) {
        return [=](Pipeline &p) {
            p.setDepthFormat(FormatDf32Su8).setStencilMask(255);
            p.setStencilFunc(func, Pipeline::StencilOpKeep, Pipeline::StencilOpKeep, op);
        };
    };
    PipelinePtr write = createPipeline({{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, R"(#version 450
        #extension GL_ARB_shader_stencil_export : require
        layout(location = 0) out vec4 out_color;
        void main() {
            gl_FragStencilRefARB = int(gl_FragCoord.x) * 10;
            out_color = vec4(0.0);
        })"}},
                                       describe(Pipeline::StencilFuncAlways, Pipeline::StencilOpReplace));
    PipelinePtr probe = createPipeline({{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, white_fragment}},
                                       describe(Pipeline::StencilFuncEqual, Pipeline::StencilOpKeep));
    ASSERT_TRUE(write && probe);
    TargetPtr target = createTarget({depth.get(), color.get()});
    draw(target, [&](Command &command) {
        command.setPipeline(write.get());
        command.drawArrays(3);
        command.setPipeline(probe.get());
        command.setStencilRef(50);
        command.drawArrays(3);
    });
    const std::vector<Pixel> pixels = getPixels(color.get());
    for(uint32_t i = 0; i < 8; i++) EXPECT_EQ(pixels[i][0], (i == 5) ? 255 : 0) << i;
}

TEST_F(FeatureVKTest, rays_of_fragment_shaders) {
    if(!device->getFeatures().fragmentTracing) GTEST_SKIP() << "no rays of fragment shaders";
    const float vertices[] = {-1, -1, 0.5f, 0, -1, 0.5f, -1, 1, 0.5f};
    BufferPtr vertex_buffer(device->createBuffer(Buffer::FlagTracing, vertices, sizeof(vertices)));
    std::unique_ptr<Tracing> mesh(device->createTracing(3, FormatRGBf32, 12, 0, FormatUnknown));
    ASSERT_TRUE(vertex_buffer && mesh);
    mesh->setVertexBuffer(0, vertex_buffer.get());
    const auto build = [&](Tracing *tracing) {
        BufferPtr scratch(device->createBuffer(Buffer::FlagScratch, tracing->getBuildSize()));
        return scratch && device->buildTracing(tracing, scratch.get()) && device->flushTracing(tracing);
    };
    ASSERT_TRUE(build(mesh.get()));
    Tracing::Instance instance;
    instance.tracing = mesh.get();
    BufferPtr instances(device->createBuffer(Buffer::FlagTracing, Tracing::InstanceSize));
    std::unique_ptr<Tracing> scene(device->createTracing(1, instances.get()));
    ASSERT_TRUE(instances && scene && device->setTracing(scene.get(), &instance, 1) && build(scene.get()));
    PipelinePtr pipeline = createPipeline({{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, R"(#version 460
        #extension GL_EXT_ray_query : require
        layout(binding = 0) uniform accelerationStructureEXT scene;
        layout(location = 0) out vec4 out_color;
        void main() {
            vec2 point = gl_FragCoord.xy / 4.0 - 1.0;
            rayQueryEXT query;
            rayQueryInitializeEXT(query, scene, gl_RayFlagsOpaqueEXT, 0xFFu, vec3(point, 0.0), 0.0, vec3(0.0, 0.0, 1.0), 1.0);
            rayQueryProceedEXT(query);
            out_color = vec4(rayQueryGetIntersectionTypeEXT(query, true) == 0u ? 0.0 : 1.0);
        })"}},
                                          [](Pipeline &p) { p.setTracingMask(0, Shader::MaskFragment); });
    ASSERT_TRUE(pipeline);
    TexturePtr texture = createTexture(FormatRGBAu8n, 8, 8);
    draw(createTarget({texture.get()}), [&](Command &command) {
        command.setPipeline(pipeline.get());
        command.setTracing(0, scene.get());
        command.drawArrays(3);
    });
    // The triangle is where y < 1 - 2 (x + 1), by pixel centres.
    const std::vector<Pixel> pixels = getPixels(texture.get());
    for(uint32_t y = 0; y < 8; y++) {
        for(uint32_t x = 0; x < 8; x++) {
            const float px = (float(x) + 0.5f) / 4.0f - 1.0f, py = (float(y) + 0.5f) / 4.0f - 1.0f;
            const float side = 1.0f - 2.0f * (px + 1.0f) - py;
            EXPECT_EQ(pixels[y * 8 + x][0], (side > 0.0f) ? 255 : 0) << x << " " << y << " " << side;
        }
    }
}

#ifdef OSTREVAN_GLSLANG
TEST_F(FeatureVKTest, bytes) {
    if(!device->getFeatures().shaderu8) GTEST_SKIP() << "no bytes in shaders";
    // Words of another compiler: the library's own has no bytes.
    KernelPtr kernel = createKernel(compileReference(R"(#version 450
        #extension GL_EXT_shader_explicit_arithmetic_types_int8 : require
        layout(local_size_x = 64) in;
        layout(std430, binding = 0) buffer Data { uint data[]; };
        void main() {
            uint i = gl_GlobalInvocationID.x;
            uint8_t a = uint8_t(data[i]);
            int8_t b = int8_t(data[i]);
            data[i] = uint(a * uint8_t(3u)) | (uint(int(b) >> 1) << 16);
        })"),
                                    0, 1);
    ASSERT_TRUE(kernel);
    std::vector<uint32_t> words(64);
    for(uint32_t i = 0; i < 64; i++) words[i] = i * 5;
    BufferPtr buffer =
        createBuffer(Buffer::Flags(uint32_t(Buffer::FlagStorage) | Buffer::FlagSource), std::vector<uint32_t>(words));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    compute->dispatch(64);
    compute.reset();
    const std::vector<uint32_t> result = getWords(buffer.get());
    for(uint32_t i = 0; i < 64; i++)
        EXPECT_EQ(result[i], uint8_t(words[i] * 3) | (uint32_t(int32_t(int8_t(words[i])) >> 1) << 16)) << i;
}

#endif

TEST_F(FeatureVKTest, float_atomics_of_textures) {
    if(!device->getFeatures().atomicTexturef32) GTEST_SKIP() << "no float atomics of textures";
    TexturePtr texture(device->createTexture2D(FormatRf32, 4, 1, surface_flags));
    KernelPtr kernel(device->createKernel(nullptr));
    kernel->setSurfaces(1);
    ASSERT_TRUE(texture && kernel->createShaderGLSL(R"(#version 450
        #extension GL_EXT_shader_atomic_float : require
        layout(local_size_x = 64) in;
        layout(binding = 0, r32f) uniform image2D sums;
        void main() { imageAtomicAdd(sums, ivec2(gl_GlobalInvocationID.x % 4u, 0), float(gl_GlobalInvocationID.x) * 0.5); })") &&
                kernel->create());
    const float zero = 0.0f;
    ASSERT_TRUE(device->clearTexture(texture.get(), &zero));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setSurfaceTexture(0, texture.get());
    compute->dispatch(64);
    compute.reset();
    // Sixteen threads each: sums of halves are exact in any order.
    const std::vector<float> sums = getPixels<float>(texture.get());
    for(uint32_t i = 0; i < 4; i++) EXPECT_EQ(sums[i], 0.5f * (16.0f * float(i) + 4.0f * 120.0f)) << i;
}
