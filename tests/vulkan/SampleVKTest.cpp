// What shaders see through the slots of samplers, textures, surfaces, texels and tables, in draws and in dispatches.

#include "DrawTest.h"

using namespace Kolm;

class SampleVKTest : public DrawTest {
protected:
    // RGBAu8n texture whose red tells the level, green the layer and blue the face, in steps of 10.
    TexturePtr create_numbered(Texture::Type type, uint32_t size, uint32_t layers) {
        TexturePtr texture(device->createTexture(type, FormatRGBAu8n, Size(size, size, 1), layers,
                                                 target_flags | Texture::FlagMipmaps));
        for(uint32_t face = 0; face < texture->getFaces(); face++) {
            for(uint32_t layer = 0; layer < texture->getLayers(); layer++) {
                for(uint32_t level = 0; level < texture->getMipmaps(); level++) {
                    const uint8_t value[] = {uint8_t(level * 10), uint8_t(layer * 10), uint8_t(face * 10), 255};
                    EXPECT_TRUE(
                        device->clearTexture(texture.get(), Slice(Face(face), Layer(layer), Mipmap(level)), value));
                }
            }
        }
        return texture;
    }
    // Runs a kernel that writes one uvec4 for each case: texels times 255.
    std::vector<std::array<uint32_t, 4>> run(const std::string &globals, const std::string &expression, uint32_t num,
                                             const std::function<void(Kernel &)> &describe,
                                             const std::function<void(Compute &)> &bind) {
        const std::string src = "#version 450\nlayout(local_size_x = 8) in;\n" + globals +
                                "layout(std430, set = 2, binding = 0) buffer Data { uvec4 data[]; };\n"
                                "void main() { uint id = gl_GlobalInvocationID.x; if(id >= " +
                                std::to_string(num) + "u) return; " + expression + " }";
        KernelPtr kernel(device->createKernel(nullptr));
        kernel->setStorages(1);
        describe(*kernel);
        compile(src);
        std::vector<std::array<uint32_t, 4>> values(num);
        if(!kernel->createShaderGLSL(src.c_str()) || !kernel->create()) {
            ADD_FAILURE() << src;
            return values;
        }
        BufferPtr buffer = createBuffer(Buffer::Flags(uint32_t(Buffer::FlagStorage) | Buffer::FlagSource), num * 16);
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setStorageBuffer(0, buffer.get());
        bind(*compute);
        compute->dispatch(num, 1, 1);
        compute.reset();
        EXPECT_TRUE(device->getBuffer(buffer.get(), 0, values.data(), num * 16));
        return values;
    }
};

// Levels of detail: between two levels the value lies between theirs.
TEST_F(SampleVKTest, levels) {
    TexturePtr texture = create_numbered(Texture::Type2D, 32, 1);
    const struct {
        Sampler::Filter filter;
        float lod_min;
        uint32_t values[6]; // at the levels 0, 0.4, 0.5, 1, 2.8, 9
    } rows[] = {
        {Sampler::FilterTrilinear, -1000.0f, {0, 4, 5, 10, 28, 50}},
        {Sampler::FilterBilinear, -1000.0f, {0, 0, 0, 10, 30, 50}},
        {Sampler::FilterPoint, -1000.0f, {0, 0, 0, 10, 30, 50}},
        {Sampler::FilterTrilinear, 2.0f, {20, 20, 20, 20, 28, 50}},
    };
    for(const auto &row : rows) {
        SamplerPtr sampler(device->createSampler());
        sampler->setFilter(row.filter).setLod(row.lod_min, 1000.0f);
        ASSERT_TRUE(sampler->create());
        const auto values = run(
            "layout(set = 0, binding = 0) uniform sampler s; layout(set = 1, binding = 0) uniform texture2D t;\n",
            "const float lods[6] = float[6](0.0, 0.4, 0.5, 1.0, 2.8, 9.0);"
            "data[id] = uvec4(textureLod(sampler2D(t, s), vec2(0.5), lods[id]) * 255.0 + 0.5);",
            6, [](Kernel &k) { k.setSamplers(1).setTextures(1); },
            [&](Compute &c) {
                c.setSampler(0, sampler.get());
                c.setTexture(0, texture.get());
            });
        for(uint32_t i = 0; i < 6; i++) {
            // 0.5 may go either way where a level is chosen.
            const uint32_t tolerance = (i == 2 && row.filter != Sampler::FilterTrilinear) ? 10 : 1;
            EXPECT_NEAR(values[i][0], row.values[i], tolerance) << row.filter << " " << i;
        }
    }
}

// Directions of a cube and their faces: +X, -X, +Y, -Y, +Z, -Z.
TEST_F(SampleVKTest, cube_faces) {
    TexturePtr cube = create_numbered(Texture::TypeCube, 8, 1), cubes = create_numbered(Texture::TypeCube, 8, 3);
    SamplerPtr sampler(device->createSampler(Sampler::FilterPoint));
    ASSERT_TRUE(cube && cubes && sampler);
    const auto values = run(
        "layout(set = 0, binding = 0) uniform sampler s; layout(set = 1, binding = 0) uniform textureCube t;"
        "layout(set = 1, binding = 1) uniform textureCubeArray a; layout(set = 1, binding = 2) uniform texture2DArray "
        "f;\n",
        "const vec3 dirs[6] = vec3[6](vec3(1, 0, 0), vec3(-1, 0, 0), vec3(0, 1, 0), vec3(0, -1, 0), vec3(0, 0, 1), "
        "vec3(0, 0, -1));"
        "uint value = uint(textureLod(samplerCube(t, s), dirs[id], 0.0).z * 255.0 + 0.5);"
        "uvec4 array = uvec4(textureLod(samplerCubeArray(a, s), vec4(dirs[id], 2.0), 1.0) * 255.0 + 0.5);"
        "uint face = uint(textureLod(sampler2DArray(f, s), vec3(0.5, 0.5, float(id % 2u)), 0.0).z * 255.0 + 0.5);"
        "data[id] = uvec4(value, array.z, array.y * 1000u + array.x, face);",
        6, [](Kernel &k) { k.setSamplers(1).setTextures(3); },
        [&](Compute &c) {
            c.setSampler(0, sampler.get());
            c.setTextures(0, {cube.get(), cubes.get()});
            c.setTexture(2, cube.get(), Face(3, 2));
        });
    for(uint32_t i = 0; i < 6; i++) {
        EXPECT_EQ(values[i][0], i * 10);
        EXPECT_EQ(values[i][1], i * 10);
        EXPECT_EQ(values[i][2], 20010u);
        EXPECT_EQ(values[i][3], 30 + (i % 2) * 10);
    }
}

// Arrays of textures and samplers, and parts of a texture. Empty elements have the first one's contents.
TEST_F(SampleVKTest, arrays_and_parts) {
    TexturePtr texture = create_numbered(Texture::Type2D, 16, 4);
    SamplerPtr sampler(device->createSampler(Sampler::FilterPoint));
    const auto values = run(
        "layout(set = 0, binding = 0) uniform sampler s[2];"
        "layout(set = 1, binding = 0) uniform texture2D t[4];"
        "layout(set = 1, binding = 4) uniform texture2DArray l;\n",
        "vec4 value = vec4(0.0);"
        "if(id == 0u) value = textureLod(sampler2D(t[0], s[0]), vec2(0.5), 0.0);"
        "if(id == 1u) value = textureLod(sampler2D(t[1], s[1]), vec2(0.5), 0.0);"
        "if(id == 2u) value = textureLod(sampler2D(t[2], s[1]), vec2(0.5), 0.0);"
        "if(id == 3u) value = textureLod(sampler2D(t[3], s[1]), vec2(0.5), 0.0);"
        "if(id == 4u) value = textureLod(sampler2DArray(l, s[0]), vec3(0.5, 0.5, 1.0), 1.0);"
        "data[id] = uvec4(value * 255.0 + 0.5);",
        5,
        [](Kernel &k) {
            k.setSamplers(2).setSamplerArray(0, 2, true);
            k.setTextures(5).setTextureArray(0, 4, true);
        },
        [&](Compute &c) {
            c.setSampler(0, sampler.get());
            c.setTexture(0, texture.get(), Slice(Layer(3), Mipmap(2)));
            c.setTexture(1, texture.get(), Slice(Layer(1), Mipmap(0)));
            c.setTexture(3, texture.get(), Slice(Layer(2), Mipmap(4)));
            c.setTexture(4, texture.get(), Slice(Layer(1, 2), Mipmap(1, 3)));
        });
    const uint32_t expected[5][2] = {{20, 30}, {0, 10}, {20, 30}, {40, 20}, {20, 20}};
    for(uint32_t i = 0; i < 5; i++) {
        EXPECT_EQ(values[i][0], expected[i][0]) << i;
        EXPECT_EQ(values[i][1], expected[i][1]) << i;
    }
}

// Levels of a texture are written by dispatches, with barriers where two of them meet, and sampled by a draw.
TEST_F(SampleVKTest, surfaces) {
    TexturePtr texture(device->createTexture2D(FormatRGBAu8n, 8, 8,
                                               Texture::Flags(uint32_t(Texture::FlagSurface) | Texture::FlagSource |
                                                              Texture::FlagMipmaps | Texture::FlagMutable)));
    ASSERT_TRUE(texture);
    const auto create = [&](const std::string &src, uint32_t surfaces, uint32_t textures) {
        compile(src);
        KernelPtr kernel(device->createKernel(nullptr));
        kernel->setSurfaces(surfaces).setTextures(textures).setTextureOffset(surfaces);
        EXPECT_TRUE(kernel->createShaderGLSL(src.c_str()) && kernel->create());
        return kernel;
    };
    KernelPtr fill = create(R"(#version 450
        layout(local_size_x = 4, local_size_y = 4) in;
        layout(binding = 0, rgba8) uniform writeonly image2D dest;
        void main() {
            ivec2 p = ivec2(gl_GlobalInvocationID.xy);
            imageStore(dest, p, vec4(vec2(p) * 2.0, 0.0, 255.0) / 255.0);
        })",
                            1, 0);
    KernelPtr add = create(R"(#version 450
        layout(local_size_x = 4, local_size_y = 4) in;
        layout(binding = 0, r32ui) uniform uimage2D dest;
        void main() {
            ivec2 p = ivec2(gl_GlobalInvocationID.xy);
            imageStore(dest, p, imageLoad(dest, p) + uvec4(0x00050000u));
        })",
                           1, 0);
    KernelPtr shrink = create(R"(#version 450
        layout(local_size_x = 4, local_size_y = 4) in;
        layout(binding = 0, rgba8) uniform writeonly image2D dest;
        layout(binding = 1) uniform texture2D src;
        void main() {
            ivec2 p = ivec2(gl_GlobalInvocationID.xy);
            imageStore(dest, p, texelFetch(src, p * 2 + 1, 0));
        })",
                              1, 1);
    ComputePtr compute = createCompute();
    compute->setKernel(fill.get());
    compute->setSurfaceTexture(0, texture.get());
    compute->dispatch(texture.get());
    compute->setKernel(add.get());
    compute->setSurfaceTexture(0, texture.get(), Slice(), FormatRu32);
    for(uint32_t i = 0; i < 3; i++) {
        compute->barrier(texture.get());
        compute->dispatch(8, 8);
    }
    compute->setKernel(shrink.get());
    compute->setSurfaceTexture(0, texture.get(), Mipmap(1));
    compute->setTexture(0, texture.get(), Mipmap(0));
    compute->barrier(texture.get());
    compute->dispatch(4, 4);
    compute.reset();
    std::vector<Pixel> pixels = getPixels(texture.get());
    for(uint32_t i = 0; i < 64; i++)
        ASSERT_EQ(pixels[i], (Pixel{uint8_t(i % 8 * 2), uint8_t(i / 8 * 2), 15, 255})) << i;
    pixels = getPixels(texture.get(), Mipmap(1));
    for(uint32_t i = 0; i < 16; i++)
        ASSERT_EQ(pixels[i], (Pixel{uint8_t(i % 4 * 4 + 2), uint8_t(i / 4 * 4 + 2), 15, 255})) << i;

    // A draw samples it, and writes to a surface and a storage buffer of its own.
    TexturePtr target_texture = createTexture(FormatRGBAu8n, 4, 4);
    TexturePtr surface(device->createTexture2D(FormatRu32, 4, 4,
                                               Texture::Flags(uint32_t(Texture::FlagSurface) | Texture::FlagSource)));
    const uint8_t zero[4] = {};
    ASSERT_TRUE(device->clearTexture(surface.get(), zero));
    PipelinePtr pipeline = createPipeline({{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, R"(#version 450
        layout(binding = 0) uniform texture2D s_texture;
        layout(binding = 1, r32ui) uniform uimage2D s_surface;
        layout(location = 0) in vec2 s_texcoord;
        layout(location = 0) out vec4 out_color;
        void main() {
            imageAtomicAdd(s_surface, ivec2(gl_FragCoord.xy), uint(s_texcoord.x * 4.0) + 1u);
            out_color = texelFetch(s_texture, ivec2(gl_FragCoord.xy), 0);
        })"}},
                                          [](Pipeline &p) {
                                              p.addTexture(Shader::MaskFragment);
                                              p.addSurface(Shader::MaskFragment);
                                              p.setSurfaceOffset(1);
                                          });
    ASSERT_TRUE(pipeline);
    TargetPtr target = createTarget({target_texture.get()});
    for(uint32_t i = 0; i < 2; i++) {
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.setTexture(0, texture.get(), Mipmap(1));
            command.setSurfaceTexture(0, surface.get());
            command.drawArrays(3);
        });
    }
    EXPECT_EQ(getPixels(target_texture.get()), pixels);
    const std::vector<uint32_t> words = getPixels<uint32_t>(surface.get());
    for(uint32_t i = 0; i < 16; i++) EXPECT_EQ(words[i], (i % 4 + 1) * 2) << i;
}

// Tables, indexed by what each invocation has.
// Transfers of a recorder lie between its dispatches: each of these sees what was recorded in front of it.
TEST_F(SampleVKTest, transfers_between_dispatches) {
    const std::string src = R"(#version 450
        layout(local_size_x = 64) in;
        layout(set = 0, binding = 0) uniform texture2D src;
        layout(std140, set = 1, binding = 0) uniform Parameters { uint base; };
        layout(std430, set = 1, binding = 1) buffer Result { uint result[]; };
        void main() {
            uint i = gl_GlobalInvocationID.x;
            result[base + i] = packUnorm4x8(texelFetch(src, ivec2(i % 8u, i / 8u), 0));
        })";
    KernelPtr kernel(device->createKernel(nullptr));
    kernel->setTextures(1).setUniforms(1).setStorages(1).setStorageOffset(1);
    ASSERT_TRUE(kernel->createShaderGLSL(src.c_str()) && kernel->create());
    TexturePtr texture(device->createTexture2D(FormatRGBAu8n, 8)),
        other(device->createTexture2D(FormatRGBAu8n, 8, Texture::FlagSource));
    BufferPtr result = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, 5 * 64 * sizeof(uint32_t));
    Image images[2];
    for(uint32_t i = 0; i < 2; i++) {
        ASSERT_TRUE(images[i].create2D(FormatRGBAu8n, 8, 8));
        for(uint32_t j = 0; j < 256; j++) images[i].getData()[j] = uint8_t(j * (i ? 7 : 3) + i);
    }
    const uint32_t value = 0x01020304;
    std::vector<uint32_t> expected, pixels(64);
    const auto keep = [&] { expected.insert(expected.end(), pixels.begin(), pixels.end()); };

    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setTexture(0, texture.get());
    compute->setStorageBuffer(0, result.get());
    const auto read = [&](uint32_t index) {
        compute->setUniform(0, index * 64);
        compute->dispatch(64);
        keep();
    };
    for(uint32_t i = 0; i < 2; i++) {
        ASSERT_TRUE(compute->setTexture(texture.get(), images[i]));
        memcpy(pixels.data(), images[i].getData(), 256);
        read(i);
    }
    ASSERT_TRUE(compute->clearTexture(texture.get(), Region(2, 1, 3, 4), &value));
    for(uint32_t i = 0; i < 12; i++) pixels[(1 + i / 3) * 8 + 2 + i % 3] = value;
    read(2);
    ASSERT_TRUE(compute->setTexture(other.get(), images[0]));
    ASSERT_TRUE(compute->copyTexture(texture.get(), Origin(4, 4), other.get(), Region(0, 0, 4, 4)));
    for(uint32_t i = 0; i < 16; i++)
        memcpy(&pixels[(4 + i / 4) * 8 + 4 + i % 4], images[0].getData() + (i / 4 * 8 + i % 4) * 4, 4);
    read(3);
    ASSERT_TRUE(compute->copyTexture(texture.get(), other.get()));
    memcpy(pixels.data(), images[0].getData(), 256);
    read(4);
    compute.reset();
    EXPECT_EQ(getWords(result.get()), expected);
}

TEST_F(SampleVKTest, tables) {
    constexpr uint32_t num = 8;
    std::vector<TexturePtr> textures;
    std::vector<BufferPtr> buffers;
    std::unique_ptr<TextureTable> texture_table(device->createTextureTable(Texture::Type2D, num));
    std::unique_ptr<BufferTable> buffer_table(device->createBufferTable(num));
    ASSERT_TRUE(texture_table && buffer_table);
    for(uint32_t i = 0; i < num; i++) {
        textures.push_back(createTexture(FormatRGBAu8n, 4, 4));
        const uint8_t value[] = {uint8_t(i * 11), 0, 0, 255};
        ASSERT_TRUE(device->clearTexture(textures[i].get(), value));
        ASSERT_TRUE(device->setTextureTable(texture_table.get(), i, textures[i].get()));
        buffers.push_back(createBuffer(Buffer::FlagStorage, std::vector<uint32_t>(16, i * 7)));
        ASSERT_TRUE(device->setBufferTable(buffer_table.get(), i, buffers[i].get()));
    }
    const std::string src = R"(#version 450
        #extension GL_EXT_nonuniform_qualifier : require
        layout(local_size_x = 32) in;
        layout(std430, set = 0, binding = 0) buffer Result { uvec2 data[]; };
        layout(set = 1, binding = 0) uniform texture2D textures[8];
        layout(std430, set = 2, binding = 0) readonly buffer Words { uint words[]; } buffers[8];
        void main() {
            uint id = gl_GlobalInvocationID.x;
            uint index = (id * 5u) % 8u;
            uint value = uint(texelFetch(textures[nonuniformEXT(index)], ivec2(1), 0).x * 255.0 + 0.5);
            data[id] = uvec2(value, buffers[nonuniformEXT(index)].words[id % 16u]);
        })";
    compile(src);
    KernelPtr kernel(device->createKernel(nullptr));
    kernel->setStorages(1);
    kernel->addTable(Kernel::TableTypeTexture, num);
    kernel->addTable(Kernel::TableTypeStorage, num);
    ASSERT_TRUE(kernel->createShaderGLSL(src.c_str()) && kernel->create());
    BufferPtr result = createBuffer(Buffer::Flags(uint32_t(Buffer::FlagStorage) | Buffer::FlagSource), 64 * 8);
    for(uint32_t round = 0; round < 2; round++) {
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setStorageBuffer(0, result.get());
        compute->setTextureTable(0, texture_table.get());
        compute->setStorageTable(1, buffer_table.get());
        compute->dispatch(64, 1, 1);
        ASSERT_TRUE(device->flush());
        compute->dispatch(64, 1, 1); // in a new command buffer
        compute.reset();
        const std::vector<uint32_t> words = getWords(result.get());
        for(uint32_t i = 0; i < 64; i++) {
            const uint32_t index = (i * 5) % 8;
            ASSERT_EQ(words[i * 2], (round && index == 3) ? 200u : index * 11) << i;
            ASSERT_EQ(words[i * 2 + 1], index * 7) << i;
        }
        const uint8_t value[] = {200, 0, 0, 255};
        ASSERT_TRUE(device->clearTexture(textures[3].get(), value));
    }
}
