// Every form of a draw: where vertices, indices, instances and records come from, and what costs no descriptor.

#include "DrawTest.h"

using namespace Kolm;

class DrawVKTest : public DrawTest {
protected:
    // A point for each vertex on a target of one row: its pixel is the position and the instance's offset, its value
    // the vertex number in red, the instance number in green, the uniform value in blue.
    static constexpr const char *point_vertex = R"(#version 450
        layout(location = 0) in uint in_position;
        layout(location = 1) in uint in_offset;
        layout(location = 0) flat out uvec2 s_value;
        void main() {
            s_value = uvec2(gl_VertexIndex, gl_InstanceIndex);
            gl_Position = vec4((float(in_position + in_offset) + 0.5) / 32.0 - 1.0, 0.0, 0.0, 1.0);
            gl_PointSize = 1.0;
        })";
    static constexpr const char *point_fragment = R"(#version 450
        layout(std140, binding = 0) uniform Params { uint value; };
        layout(location = 0) flat in uvec2 s_value;
        layout(location = 0) out uvec4 out_color;
        void main() { out_color = uvec4(s_value, value, 1u); })";

    void SetUp() override {
        DrawTest::SetUp();
        texture = createTexture(FormatRGBAu8, width, 1);
        target = createTarget({texture.get()});
        pipeline = createPipeline({{Shader::TypeVertex, point_vertex}, {Shader::TypeFragment, point_fragment}},
                                  [](Pipeline &p) {
                                      p.setColorFormat(FormatRGBAu8).setPrimitive(Pipeline::PrimitivePoint);
                                      p.addAttribute(Pipeline::AttributePosition, FormatRu32, 0, 0, 4);
                                      p.addAttribute(Pipeline::AttributeIndex, FormatRu32, 1, 0, 4, 1);
                                      p.addUniform(Shader::MaskFragment);
                                  });
        ASSERT_TRUE(pipeline);
        for(uint32_t i = 0; i < width; i++) positions.push_back(i);
    }
    void TearDown() override {
        pipeline.reset();
        target.reset();
        texture.reset();
        DrawTest::TearDown();
    }
    void bind(Command &command, uint32_t value = 9) {
        command.setPipeline(pipeline.get());
        command.setVertexData(0, positions.data(), positions.size() * 4);
        command.setVertexData(1, offsets, sizeof(offsets));
        command.setUniform(0, value);
    }
    // Pixels as text: "vertex.instance.value" where something was drawn.
    std::string get_text() {
        std::string text;
        const std::vector<Pixel> pixels = getPixels(texture.get());
        for(uint32_t i = 0; i < width; i++) {
            if(pixels[i][3] == 0) continue;
            text += std::to_string(i) + ":" + std::to_string(pixels[i][0]) + "." + std::to_string(pixels[i][1]) + "." +
                    std::to_string(pixels[i][2]) + " ";
        }
        return text;
    }

    static constexpr uint32_t width = 64;
    TexturePtr texture;
    TargetPtr target;
    PipelinePtr pipeline;
    std::vector<uint32_t> positions;
    const uint32_t offsets[4] = {0, 20, 40, 60};
};

TEST_F(DrawVKTest, forms) {
    const uint16_t indices_16[] = {7, 3, 0, 5};
    const uint32_t indices_32[] = {1, 6, 2};
    const Command::DrawArraysIndirect arrays[] = {{2, 1, 3, 0}, {1, 2, 8, 1}};
    const Command::DrawElementsIndirect elements[] = {{2, 1, 1, 0, 0}, {1, 1, 2, 4, 2}};
    const auto storage = Buffer::Flags(uint32_t(Buffer::FlagIndirect) | Buffer::FlagSource);
    BufferPtr arrays_buffer(device->createBuffer(storage, arrays, sizeof(arrays)));
    BufferPtr elements_buffer(device->createBuffer(storage, elements, sizeof(elements)));
    BufferPtr index_buffer(device->createBuffer(Buffer::FlagIndex, indices_32, sizeof(indices_32)));
    BufferPtr vertex_buffer(device->createBuffer(Buffer::FlagVertex, positions.data(), positions.size() * 4));
    const struct {
        const char *name;
        std::function<void(Command &)> func;
        const char *text;
    } rows[] = {
        {"arrays", [&](Command &c) { c.drawArrays(3, 2); }, "2:2.0.9 3:3.0.9 4:4.0.9 "},
        {"instances", [&](Command &c) { c.drawArraysInstanced(2, 1, 2, 1); }, "21:1.1.9 22:2.1.9 41:1.2.9 42:2.2.9 "},
        {"vertex buffer and offset",
         [&](Command &c) {
             c.setVertexBuffer(0, vertex_buffer.get(), 16);
             c.drawArrays(1);
             c.setVertexOffset(0, 8, true);
             c.drawArrays(1);
         },
         "4:0.0.9 6:0.0.9 "},
        {"16-bit indices",
         [&](Command &c) {
             c.setIndexData(FormatRu16, indices_16, sizeof(indices_16));
             c.drawElements(2, 1, 2);
         },
         "2:2.0.9 5:5.0.9 "},
        {"32-bit indices after a draw without",
         [&](Command &c) {
             c.setIndexBuffer(FormatRu32, index_buffer.get());
             c.drawArrays(1);
             c.drawElements(3);
         },
         "0:0.0.9 1:1.0.9 2:2.0.9 6:6.0.9 "},
        {"index offset and instances",
         [&](Command &c) {
             c.setIndexBuffer(FormatRu32, index_buffer.get());
             c.setIndexOffset(4);
             c.drawElementsInstanced(2, 0, 1, 1, 2);
         },
         "43:3.2.9 47:7.2.9 "},
        {"indirect arrays",
         [&](Command &c) {
             c.setIndirectBuffer(arrays_buffer.get());
             c.drawArraysIndirect(2);
         },
         "3:3.0.9 4:4.0.9 28:8.1.9 48:8.2.9 "},
        {"one indirect record at an offset",
         [&](Command &c) { c.drawArraysIndirect(arrays_buffer.get(), sizeof(arrays[0]), 1); }, "28:8.1.9 48:8.2.9 "},
        {"transient indirect elements",
         [&](Command &c) {
             c.setIndexData(FormatRu16, indices_16, sizeof(indices_16));
             c.setIndirectData(elements, sizeof(elements));
             c.drawElementsIndirect(2);
         },
         "0:0.0.9 3:3.0.9 44:4.2.9 "},
        {"indirect elements of a buffer",
         [&](Command &c) {
             c.setIndexData(FormatRu16, indices_16, sizeof(indices_16));
             c.drawElementsIndirect(elements_buffer.get(), 0, 2, sizeof(elements[0]));
         },
         "0:0.0.9 3:3.0.9 44:4.2.9 "},
        {"uniform data between draws",
         [&](Command &c) {
             c.drawArrays(1);
             c.setUniform(0, 5u);
             c.drawArrays(1, 1);
         },
         "0:0.0.9 1:1.0.5 "},
    };
    for(const auto &row : rows) {
        draw(target, [&](Command &command) {
            bind(command);
            row.func(command);
        });
        EXPECT_EQ(get_text(), row.text) << row.name;
    }
}

TEST_F(DrawVKTest, conditions) {
    const uint32_t words[] = {0, 1};
    BufferPtr buffer(device->createBuffer(Buffer::FlagConditional, words, sizeof(words)));
    draw(target, [&](Command &command) {
        bind(command);
        for(uint32_t i = 0; i < 2; i++) {
            command.beginConditional(buffer.get(), i * 4);
            command.drawArrays(1, i);
            command.endConditional();
        }
        command.drawArrays(1, 2);
    });
    EXPECT_EQ(get_text(), "1:1.0.9 2:2.0.9 ");
}

// Buffers that compute work wrote are read by draws without a call in between.
TEST_F(DrawVKTest, compute_before_and_behind) {
    KernelPtr kernel = createKernel(R"(#version 450
        layout(local_size_x = 64) in;
        layout(std430, binding = 0) buffer Data { uint data[]; };
        void main() { data[gl_GlobalInvocationID.x] = (gl_GlobalInvocationID.x == 2u) ? 30u : data[gl_GlobalInvocationID.x] + 1u; })",
                                    0, 1);
    BufferPtr buffer(device->createBuffer(
        Buffer::Flags(uint32_t(Buffer::FlagStorage) | Buffer::FlagVertex | Buffer::FlagSource), positions.data(), 256));
    ASSERT_TRUE(kernel && buffer);
    const auto dispatch = [&]() {
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setStorageBuffer(0, buffer.get());
        compute->dispatch(64, 1, 1);
    };
    dispatch();
    draw(target, [&](Command &command) {
        bind(command);
        command.setVertexBuffer(0, buffer.get());
        command.drawArrays(4);
    });
    dispatch();
    EXPECT_EQ(get_text(), "1:0.0.9 2:1.0.9 4:3.0.9 30:2.0.9 ");
    EXPECT_EQ(getWords(buffer.get())[3], 5u);
}

// Uniform data alone writes no descriptor, whatever the number of draws.
TEST_F(DrawVKTest, descriptors_of_many_draws) {
    ASSERT_TRUE(target->begin());
    {
        CommandPtr command(device->createCommand(target.get()));
        bind(*command);
        for(uint32_t i = 0; i < 10000; i++) {
            command->setUniform(0, i % 200);
            command->drawArrays(1, i % 16);
        }
        EXPECT_EQ(static_cast<VKCommand *>(command.get())->getNumDescriptors(), 1u);
    }
    ASSERT_TRUE(target->end());
    std::string text;
    for(uint32_t i = 0; i < 16; i++)
        text += std::to_string(i) + ":" + std::to_string(i) + ".0." + std::to_string((10000 - 16 + i) % 200) + " ";
    EXPECT_EQ(get_text(), text);
}

// Two recorders on one target, and pipelines in turn.
TEST_F(DrawVKTest, pipelines_in_turn) {
    PipelinePtr other(device->createPipeline(pipeline.get()));
    other->setColorMask(Pipeline::ColorMaskR | Pipeline::ColorMaskA);
    ASSERT_TRUE(other->create());
    draw(target, [&](Command &command) {
        bind(command);
        for(uint32_t i = 0; i < 4; i++) {
            command.setPipeline((i % 2) ? other.get() : pipeline.get());
            command.drawArrays(1, i);
        }
        CommandPtr second(device->createCommand(target.get()));
        bind(*second, 7);
        second->drawArrays(1, 4);
        command.drawArrays(1, 5);
    });
    EXPECT_EQ(get_text(), "0:0.0.9 1:1.0.0 2:2.0.9 3:3.0.0 4:4.0.7 5:5.0.0 ");
}

// A recorder that is kept over frames draws again after its target was enabled again.
TEST_F(DrawVKTest, objects_created_anew) {
    BufferPtr buffer(device->createBuffer(Buffer::FlagVertex, positions.data(), 256));
    for(uint32_t i = 0; i < 5; i++) {
        draw(target, [&](Command &command) {
            bind(command, i);
            command.setVertexBuffer(0, buffer.get());
            command.drawArrays(1, i);
        });
        EXPECT_EQ(get_text(), std::to_string(i) + ":" + std::to_string(i) + ".0." + std::to_string(i) + " ");
        // Everything anew under the same addresses.
        device->releasePipeline(pipeline.get());
        ASSERT_TRUE(pipeline->create());
        buffer->clear();
        ASSERT_TRUE(buffer->create(Buffer::FlagVertex, 256, FormatUnknown));
        ASSERT_TRUE(device->setBuffer(buffer.get(), positions.data(), 256));
        texture->clear();
        ASSERT_TRUE(texture->create2D(FormatRGBAu8, width, 1, target_flags));
        ASSERT_TRUE(device->flip());
    }
}

TEST_F(DrawVKTest, failures_of_pipelines) {
    const struct {
        const char *text;
        std::function<void(Pipeline &)> describe;
        bool vertex, fragment;
    } rows[] = {
        {"VKPipeline::create(): vertex shader is null", [](Pipeline &) {}, false, true},
        {"VKPipeline::create(): unsupported input rate 2",
         [](Pipeline &p) { p.addAttribute(Pipeline::AttributePosition, FormatRf32, 0, 0, 4, 2); }, true, true},
        {"VKPipeline::create(): patches need both tessellation shaders, and they need patches",
         [](Pipeline &p) { p.setPrimitive(Pipeline::PrimitiveTrianglePatch); }, true, true},
        {"VKPipeline::create(): number of samples is not supported", [](Pipeline &p) { p.setMultisample(3); }, true,
         true},
        {"VKPipeline::create(): texture and surface resources overlap",
         [](Pipeline &p) {
             p.addTexture(Shader::MaskFragment);
             p.addSurface(Shader::MaskFragment);
         },
         true, true},
        {"VKPipeline::create(): binding 0 of set 0 is used by the shader and not by the pipeline",
         [](Pipeline &p) { p.setUniformMask(0, Shader::MaskNone); }, true, true},
        {"VKPipeline::create(): binding 0 of set 0 is hidden from the Fragment shader by its mask",
         [](Pipeline &p) { p.setUniformMask(0, Shader::MaskVertex); }, true, true},
    };
    for(const auto &row : rows) {
        PipelinePtr broken(device->createPipeline());
        broken->setColorFormat(FormatRGBAu8).addUniform(Shader::MaskFragment);
        row.describe(*broken);
        if(row.vertex) {
            ASSERT_TRUE(broken->createShaderGLSL(Shader::TypeVertex, point_vertex));
        }
        if(row.fragment) {
            ASSERT_TRUE(broken->createShaderGLSL(Shader::TypeFragment, point_fragment));
        }
        EXPECT_FALSE(broken->create()) << row.text;
        EXPECT_FALSE(broken->isCreated());
        expectLog(row.text);
    }
}
