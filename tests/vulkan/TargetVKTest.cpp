// What happens to textures at the begin and the end of a target: operations, slices, resolves, surfaces and mistakes.

#include <thread>

#include "DrawTest.h"
#include "VKSurface.h"

using namespace Kolm;

class TargetVKTest : public DrawTest {
protected:
    // Covers a quarter: the upper left one.
    static constexpr const char *quarter_vertex = R"(#version 450
        void main() {
            vec2 p = vec2(float(gl_VertexIndex & 1), float(gl_VertexIndex >> 1));
            gl_Position = vec4(p.x - 1.0, p.y, 0.5, 1.0);
        })";

    PipelinePtr create_quarter(const std::function<void(Pipeline &)> &describe = nullptr) {
        return createPipeline({{Shader::TypeVertex, quarter_vertex}, {Shader::TypeFragment, white_fragment}},
                              [&](Pipeline &p) {
                                  p.setPrimitive(Pipeline::PrimitiveTriangleStrip);
                                  if(describe) describe(p);
                              });
    }
    static void draw_quarter(Command &command, const PipelinePtr &pipeline) {
        command.setPipeline(pipeline.get());
        command.drawArrays(4);
    }
    TexturePtr create_filled(const Color &color, uint32_t size = 4) {
        TexturePtr texture = createTexture(FormatRGBAu8n, size, size);
        TargetPtr target = createTarget({texture.get()});
        target->setClearColor(color);
        draw(target, [](Command &) {});
        return texture;
    }
};

TEST_F(TargetVKTest, operations) {
    PipelinePtr pipeline = create_quarter();
    ASSERT_TRUE(pipeline);
    const struct {
        Target::Operation op;
        uint8_t value; // of what is not drawn to, 255 for anything
    } rows[] = {
        {Target::OpLoad, 102},    {Target::OpLoadStore, 102}, {Target::OpClearStore, 51},
        {Target::BeginClear, 51}, {Target::OpNone, 255},      {Target::BeginDiscard | Target::EndStore, 255},
    };
    for(const auto &row : rows) {
        TexturePtr texture = create_filled(Color(0.4f, 0.0f, 0.0f, 1.0f));
        TargetPtr target = createTarget({texture.get()}, row.op);
        target->setClearColor(0.2f, 0.0f, 0.0f, 1.0f);
        draw(target, [&](Command &command) { draw_quarter(command, pipeline); });
        const std::vector<Pixel> pixels = getPixels(texture.get());
        EXPECT_EQ(pixels[0][0], 255);
        EXPECT_EQ(pixels[5][0], 255);
        if(row.value != 255) {
            EXPECT_EQ(pixels[15][0], row.value) << row.op;
        }
        if(row.value != 255) {
            EXPECT_EQ(pixels[2][0], row.value) << row.op;
        }
    }
    // Discarded pixels are anything, and there is no error.
    TexturePtr texture = create_filled(Color(0.4f, 0.0f, 0.0f, 1.0f));
    TargetPtr target = createTarget({texture.get()}, Target::OpClearDiscard);
    draw(target, [&](Command &command) { draw_quarter(command, pipeline); });
}

// Every level, layer and face is drawn to on its own, and the others stay.
TEST_F(TargetVKTest, slices) {
    PipelinePtr pipeline = create_quarter();
    ASSERT_TRUE(pipeline);
    const struct {
        const char *name;
        Texture::Type type;
        uint32_t layers;
        Slice slice;
    } rows[] = {
        {"level", Texture::Type2D, 1, Mipmap(2)},
        {"layer", Texture::Type2D, 3, Layer(1)},
        {"level of a layer", Texture::Type2D, 3, Slice(Layer(2), Mipmap(1))},
        {"face", Texture::TypeCube, 1, Face(4)},
        {"level of a face of a cube in an array", Texture::TypeCube, 2, Slice(Face(3), Layer(1), Mipmap(1))},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TexturePtr texture(device->createTexture(row.type, FormatRGBAu8n, Size(16, 16, 1), row.layers,
                                                 target_flags | Texture::FlagMipmaps));
        ASSERT_TRUE(texture);
        const uint8_t gray[] = {7, 7, 7, 7};
        ASSERT_TRUE(device->clearTexture(texture.get(), gray));
        TargetPtr target(device->createTarget());
        target->setColorTexture(texture.get(), Target::OpLoadStore, row.slice);
        EXPECT_EQ(target->getWidth(), 16u >> row.slice.mipmap);
        draw(target, [&](Command &command) { draw_quarter(command, pipeline); });
        for(uint32_t face = 0; face < texture->getFaces(); face++) {
            for(uint32_t layer = 0; layer < row.layers; layer++) {
                for(uint32_t mipmap = 0; mipmap < texture->getMipmaps(); mipmap++) {
                    const bool drawn =
                        (face == row.slice.face && layer == row.slice.layer && mipmap == row.slice.mipmap);
                    const std::vector<Pixel> pixels =
                        getPixels(texture.get(), Slice(Face(face), Layer(layer), Mipmap(mipmap)));
                    ASSERT_EQ(pixels.front()[0], drawn ? 255 : 7) << face << " " << layer << " " << mipmap;
                    ASSERT_EQ(pixels.back()[0], 7) << face << " " << layer << " " << mipmap;
                }
            }
        }
    }
}

// Layers of an array and slices of depth that the geometry shader chooses.
TEST_F(TargetVKTest, layers) {
    const struct {
        Texture::Type type;
        uint32_t depth, layers;
        Slice slice;
    } rows[] = {
        {Texture::Type2D, 1, 4, Layer(0, 4)}, {Texture::TypeCube, 1, 1, Face(0, 6)}, {Texture::Type3D, 4, 1, Slice()}};
    for(const auto &row : rows) {
        TexturePtr texture(
            device->createTexture(row.type, FormatRGBAu8n, Size(4, 4, row.depth), row.layers, target_flags));
        ASSERT_TRUE(texture);
        TargetPtr target(device->createTarget());
        target->setColorTexture(texture.get(), Target::OpClearStore, row.slice);
        PipelinePtr pipeline = createPipeline({{Shader::TypeVertex, R"(#version 450
            layout(location = 0) flat out int s_layer;
            void main() { s_layer = gl_VertexIndex; gl_Position = vec4(0.0); })"},
                                               {Shader::TypeGeometry, R"(#version 450
            layout(points) in;
            layout(triangle_strip, max_vertices = 3) out;
            layout(location = 0) flat in int s_layer[];
            layout(location = 0) flat out int s_value;
            void main() {
                for(int i = 0; i < 3; i++) {
                    s_value = s_layer[0];
                    gl_Layer = s_layer[0];
                    gl_Position = vec4(float(i & 1) * 4.0 - 1.0, float(i >> 1) * 4.0 - 1.0, 0.0, 1.0);
                    EmitVertex();
                }
            })"},
                                               {Shader::TypeFragment, R"(#version 450
            layout(location = 0) flat in int s_value;
            layout(location = 0) out vec4 out_color;
            void main() { out_color = vec4(float(s_value + 1) / 255.0); })"}},
                                              [](Pipeline &p) { p.setPrimitive(Pipeline::PrimitivePoint); });
        ASSERT_TRUE(pipeline);
        const uint32_t num = row.slice.layers * row.slice.faces * row.depth;
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.drawArrays(num);
        });
        Image image;
        ASSERT_TRUE(image.create(Image::Type(uint32_t(row.type)), FormatRGBAu8n, Size(4, 4, row.depth), row.layers));
        ASSERT_TRUE(device->getTexture(texture.get(), image));
        for(uint32_t i = 0; i < num; i++) {
            const uint8_t *data = (row.type == Texture::Type3D)
                                      ? image.getData(Origin(0, 0, i))
                                      : image.getData(row.type == Texture::TypeCube ? Slice(Face(i)) : Slice(Layer(i)));
            EXPECT_EQ(data[0], i + 1) << row.type;
            EXPECT_EQ(data[63], i + 1) << row.type;
        }
    }
}

// A texture that was drawn to is sampled by the next target, and a level while the next one is drawn to.
TEST_F(TargetVKTest, drawn_and_sampled) {
    TexturePtr texture(device->createTexture2D(FormatRGBAu8n, 8, 8, target_flags | Texture::FlagMipmaps));
    SamplerPtr sampler(device->createSampler(Sampler::FilterPoint, Sampler::WrapModeClamp));
    PipelinePtr quarter = create_quarter();
    PipelinePtr copy = createPipeline({{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, R"(#version 450
        layout(set = 0, binding = 0) uniform sampler s_point;
        layout(set = 1, binding = 0) uniform texture2D s_texture;
        layout(location = 0) in vec2 s_texcoord;
        layout(location = 0) out vec4 out_color;
        void main() { out_color = texture(sampler2D(s_texture, s_point), s_texcoord); })"}},
                                      [](Pipeline &p) {
                                          p.addSampler(Shader::MaskFragment);
                                          p.addTexture(Shader::MaskFragment);
                                      });
    ASSERT_TRUE(texture && sampler && quarter && copy);
    TargetPtr target(device->createTarget());
    for(uint32_t i = 0; i < 3; i++) {
        target->setColorTexture(texture.get(), Target::OpClearStore, Mipmap(i));
        draw(target, [&](Command &command) {
            if(i == 0) {
                draw_quarter(command, quarter);
            } else {
                command.setPipeline(copy.get());
                command.setSampler(0, sampler.get());
                command.setTexture(0, texture.get(), Mipmap(i - 1));
                command.drawArrays(3);
            }
        });
    }
    for(uint32_t i = 0; i < 3; i++) {
        const uint32_t size = 8 >> i;
        const std::vector<Pixel> pixels = getPixels(texture.get(), Mipmap(i));
        for(uint32_t j = 0; j < size * size; j++)
            ASSERT_EQ(pixels[j][0], (j % size < size / 2 && j / size < size / 2) ? 255 : 0) << i << " " << j;
    }
    // The level itself can't be both.
    draw(target, [&](Command &command) {
        command.setPipeline(copy.get());
        command.setSampler(0, sampler.get());
        command.setTexture(0, texture.get(), Mipmap(2));
        command.drawArrays(3);
    });
    expectLog("VKCommand::update(): unnamed texture is drawn to");
    // Neither can a texture that holds nothing be sampled.
    TexturePtr empty = createTexture(FormatRGBAu8n, 4, 4);
    draw(target, [&](Command &command) {
        command.setPipeline(copy.get());
        command.setSampler(0, sampler.get());
        command.setTexture(0, empty.get());
        command.drawArrays(3);
    });
    expectLog("VKCommand::update(): unnamed texture had no contents when the target was enabled");
}

// Images and views of the application, with and without its own pass.
TEST_F(TargetVKTest, surface) {
    PipelinePtr pipeline = create_quarter([](Pipeline &p) { p.setDepthFormat(FormatDf32); });
    ASSERT_TRUE(pipeline);
    TexturePtr color = createTexture(FormatRGBAu8n, 8, 8), depth = createTexture(FormatDf32, 8, 8);
    VKTexture *vk_color = static_cast<VKTexture *>(color.get()), *vk_depth = static_cast<VKTexture *>(depth.get());
    VKSurface surface(getContext());
    surface.setSize(8, 8);
    surface.setColorFormat(FormatRGBAu8n);
    surface.setDepthFormat(FormatDf32);
    TargetPtr target(device->createTarget(&surface));
    ASSERT_TRUE(target);
    EXPECT_FALSE(target->begin());
    expectLog("VKTarget::begin(): surface has no color image view");
    surface.setColorImageView(vk_color->getTextureView(Slice(), FormatUnknown, VKTexture::ViewTarget));
    surface.setDepthImageView(vk_depth->getTextureView(Slice(), FormatUnknown, VKTexture::ViewTarget));
    target->setClearColor(0.2f, 0.0f, 0.0f, 1.0f);
    const auto draw_surface = [&]() {
        draw(target, [&](Command &command) { draw_quarter(command, pipeline); });
        device->setTextureLayout(color.get(), VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL);
        const std::vector<Pixel> pixels = getPixels(color.get());
        vk_color->setTextureLayout(getContext(), VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL);
        EXPECT_EQ(pixels[0][0], 255);
        return pixels[63][0];
    };
    EXPECT_EQ(draw_surface(), 51);
    target->setClearColor(0.4f, 0.0f, 0.0f, 1.0f);
    target->setColorTexture(nullptr, Target::OpLoadStore);
    EXPECT_EQ(draw_surface(), 51);
    target->setColorTexture(nullptr, Target::OpNone);
    EXPECT_EQ(draw_surface(), 102);
}

TEST_F(TargetVKTest, mistakes) {
    TexturePtr texture = createTexture(FormatRGBAu8n, 4, 4), other = createTexture(FormatRGBAu8n, 4, 4);
    TargetPtr target = createTarget({texture.get()}), second = createTarget({other.get()});
    ASSERT_TRUE(target->begin());
    EXPECT_FALSE(second->begin());
    expectLog("VKTarget::begin(): another target is enabled");
    ASSERT_TRUE(target->end());
    DevicePtr child(device->createCommandDevice(3));
    TargetPtr wrong(child->createTarget({texture.get()}));
    EXPECT_FALSE(wrong->begin());
    expectLog("VKTarget::begin(): command devices have no targets");
    EXPECT_EQ(child->createCommand(), nullptr);
    expectLog("VKDevice::createCommand(): no target is enabled");
}

// Counts of samples in a pass and around passes, own draws and those of command devices.
TEST_F(TargetVKTest, queries_and_fences) {
    PipelinePtr pipeline = create_quarter();
    ASSERT_TRUE(pipeline);
    TexturePtr texture = createTexture(FormatRGBAu8n, 8, 8);
    TargetPtr target = createTarget({texture.get()});
    std::unique_ptr<Query> inside(device->createQuery(Query::TypeSamples));
    std::unique_ptr<Query> around(device->createQuery(Query::TypeStatistics));
    std::unique_ptr<Fence> fence(device->createFence(Fence::DefaultFlags));
    DevicePtr child(device->createCommandDevice(3));
    ASSERT_TRUE(inside && around && fence);
    for(const bool secondary : {false, true}) {
        ASSERT_TRUE(device->beginQuery(around.get()));
        for(uint32_t i = 0; i < 2; i++) {
            ASSERT_TRUE(target->begin(fence.get()));
            CommandPtr command((secondary && i) ? child->createCommand() : device->createCommand(target.get()));
            if(i == 0) {
                ASSERT_TRUE(command->beginQuery(inside.get()));
            }
            draw_quarter(*command, pipeline);
            if(i == 0) command->endQuery(inside.get());
            draw_quarter(*command, pipeline);
            command.reset();
            if(secondary && i) {
                ASSERT_TRUE(device->execute(child.get()));
            }
            ASSERT_TRUE(target->end(fence.get()));
        }
        ASSERT_TRUE(device->endQuery(around.get()));
        ASSERT_TRUE(device->flush());
        ASSERT_TRUE(fence->wait());
        ASSERT_TRUE(device->finish());
        uint64_t samples = 0;
        EXPECT_TRUE(inside->getSamples(samples));
        EXPECT_EQ(samples, 16u);
        Query::Statistics statistics;
        EXPECT_TRUE(around->getStatistics(statistics));
        EXPECT_EQ(statistics.vertex_invocations, secondary ? 8u : 16u);
        ASSERT_TRUE(device->flip() && child->flip());
    }
}

// Draws of command devices, recorded on threads of their own, in the order of execute().
class SecondaryVKTest : public TargetVKTest {
protected:
    static constexpr const char *strip_vertex = R"(#version 450
        layout(location = 0) in float in_x;
        void main() { gl_Position = vec4(in_x, float(gl_VertexIndex & 1) * 2.0 - 1.0, 0.0, 1.0); })";
    static constexpr const char *uniform_fragment = R"(#version 450
        layout(set = 0, binding = 0) uniform sampler s_point;
        layout(set = 1, binding = 0) uniform texture2D s_texture;
        layout(std140, set = 2, binding = 0) uniform Params { vec4 color; };
        layout(location = 0) out vec4 out_color;
        void main() { out_color = color * texelFetch(sampler2D(s_texture, s_point), ivec2(0), 0); })";
};

TEST_F(SecondaryVKTest, threads) {
    constexpr uint32_t width = 64;
    PipelinePtr pipeline =
        createPipeline({{Shader::TypeVertex, strip_vertex}, {Shader::TypeFragment, uniform_fragment}}, [](Pipeline &p) {
            p.setPrimitive(Pipeline::PrimitiveTriangleStrip);
            p.addAttribute(Pipeline::AttributePosition, FormatRf32, 0, 0, 4);
            p.addSampler(Shader::MaskFragment);
            p.addTexture(Shader::MaskFragment);
            p.addUniform(Shader::MaskFragment);
        });
    TexturePtr texture = createTexture(FormatRGBAu8n, width, 1);
    TexturePtr white = create_filled(Color(1.0f, 1.0f, 1.0f, 1.0f));
    SamplerPtr sampler(device->createSampler(Sampler::FilterPoint));
    std::vector<float> vertices;
    for(uint32_t i = 0; i < width; i++) {
        const float x = float(i) / width * 2.0f - 1.0f, next = float(i + 1) / width * 2.0f - 1.0f;
        for(const float v : {x, x, next, next}) vertices.push_back(v);
    }
    BufferPtr buffer(device->createBuffer(Buffer::FlagVertex, vertices.data(), vertices.size() * 4));
    ASSERT_TRUE(pipeline && texture && white && sampler && buffer);
    TargetPtr target = createTarget({texture.get()});
    for(const uint32_t num : {1u, 2u, 4u}) {
        std::vector<DevicePtr> children;
        for(uint32_t i = 0; i < num; i++) children.emplace_back(device->createCommandDevice(3));
        for(uint32_t frame = 0; frame < 5; frame++) {
            ASSERT_TRUE(target->begin());
            std::vector<std::thread> threads;
            for(uint32_t i = 0; i < num; i++) {
                threads.emplace_back([&, i]() {
                    CommandPtr command((i % 2) ? children[i]->createCommand()
                                               : children[i]->createCommand(target.get()));
                    ASSERT_TRUE(command);
                    command->setPipeline(pipeline.get());
                    command->setSampler(0, sampler.get());
                    command->setTexture(0, white.get());
                    command->setVertexBuffer(0, buffer.get());
                    for(uint32_t x = i; x < width; x += num) {
                        const float value = float((x + frame) % 256) / 255.0f;
                        const float color[] = {value, float(i + 1) / 255.0f, 0.0f, 1.0f};
                        command->setUniformData(0, color, sizeof(color));
                        command->drawArrays(4, x * 4);
                    }
                });
            }
            for(std::thread &thread : threads) thread.join();
            for(const DevicePtr &child : children) ASSERT_TRUE(device->execute(child.get()));
            ASSERT_TRUE(target->end());
            const std::vector<Pixel> pixels = getPixels(texture.get());
            for(uint32_t x = 0; x < width; x++)
                ASSERT_EQ(pixels[x], (Pixel{uint8_t(x + frame), uint8_t(x % num + 1), 0, 255})) << x;
            ASSERT_TRUE(device->flip());
            for(const DevicePtr &child : children) ASSERT_TRUE(child->flip());
        }
    }
}

// Own draws in front of and behind those of a command device cut the pass, which needs textures that are stored.
TEST_F(SecondaryVKTest, both_kinds_of_draws) {
    PipelinePtr quarter = create_quarter();
    PipelinePtr cover = createPipeline({{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, R"(#version 450
        layout(location = 0) in vec2 s_texcoord;
        layout(location = 0) out vec4 out_color;
        void main() { out_color = vec4(0.2, s_texcoord, 1.0); })"}},
                                       [](Pipeline &p) { p.setScissorTest(true); });
    ASSERT_TRUE(quarter && cover);
    TexturePtr texture = createTexture(FormatRGBAu8n, 4, 4);
    DevicePtr child(device->createCommandDevice(3));
    for(const Target::Operation op : {Target::OpClearStore, Target::OpClearDiscard}) {
        TargetPtr target = createTarget({texture.get()}, op);
        ASSERT_TRUE(target->begin());
        {
            CommandPtr command(device->createCommand(target.get()));
            draw_quarter(*command, quarter);
            {
                CommandPtr second(child->createCommand(target.get()));
                second->setPipeline(cover.get());
                second->setScissor(0, Scissor(1, 0, 1, 4));
                second->drawArrays(3);
            }
            EXPECT_EQ(device->execute(child.get()), op == Target::OpClearStore);
            command->setPipeline(cover.get());
            command->setScissor(0, Scissor(0, 3, 4, 1));
            command->drawArrays(3);
        }
        ASSERT_TRUE(target->end());
        if(op == Target::OpClearStore) {
            const std::vector<Pixel> pixels = getPixels(texture.get());
            const uint8_t values[] = {255, 51, 0, 0, 255, 51, 0, 0, 0, 51, 0, 0, 51, 51, 51, 51};
            for(uint32_t i = 0; i < 16; i++) EXPECT_EQ(pixels[i][0], values[i]) << i;
        }
        ASSERT_TRUE(device->flip() && child->flip());
    }
    expectLog("VKTarget::begin_pass(): own draws and those of command devices need textures that are stored");
}
