// The draw recorder, the slots of textures, surfaces, tracings and tables, and all misuse that a recorder stops: one line
// with class, method, object, what was given and what is allowed, and nothing that reaches the driver.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>

#include "CapturedLog.h"
#include "RecorderMisuse.h"

using namespace Kolm;

namespace {

struct CommandTest : testing::Test {
    CommandTest() {
        pipeline = make("sky");
        pipeline->addSampler(Shader::MaskFragment);
        pipeline->addTexture(Shader::MaskFragment);
        pipeline->addUniform(Shader::MaskVertex);
        pipeline->addAttribute(Pipeline::AttributePosition, FormatRGBf32, 0, 0, 12);
        pipeline->setColorFormat(FormatRGBAu8n);
        pipeline->create();
        mesh = make("grass");
        mesh->createShader(Shader::TypeMesh, "text");
        mesh->create();
        color.reset(device.createTexture2D(FormatRGBAu8n, 64, Texture::FlagTarget | Texture::FlagMipmaps));
        color->setName("paint");
        texture.reset(device.createTexture2D(FormatRGBAu8n, 16, Texture::FlagMipmaps));
        texture->setName("stars");
        sampler.reset(device.createSampler(Sampler::FilterLinear));
        vertices = buffer(Buffer::FlagVertex, 120, "points");
        indices = buffer(Buffer::FlagIndex, 24, "triangles");
        indirect = buffer(Buffer::FlagIndirect, 64, "records");
        uniform = buffer(Buffer::FlagUniform, 1024, "params");
        target.reset(device.createTarget({color.get()}));
        target->begin();
        command.reset(device.createCommand(target.get()));
        stub = static_cast<StubCommand *>(command.get());
        device.calls.take();
    }
    ~CommandTest() override {
        command.reset();
        target->end();
    }
    std::unique_ptr<Pipeline> make(const char *name) {
        std::unique_ptr<Pipeline> ret(device.createPipeline());
        ret->setName(name);
        return ret;
    }
    std::unique_ptr<Buffer> buffer(Buffer::Flags flags, size_t size, const char *name) {
        std::unique_ptr<Buffer> ret(device.createBuffer(flags, size));
        ret->setName(name);
        return ret;
    }
    void bind() {
        command->setPipeline(pipeline.get());
        command->setSampler(0, sampler.get());
        command->setTexture(0, texture.get());
        command->setUniformBuffer(0, uniform.get());
        command->setVertexBuffer(0, vertices.get());
        command->setIndexBuffer(FormatRu16, indices.get());
        command->setIndirectBuffer(indirect.get());
        device.calls.take();
    }

    CapturedLog log;
    StubDevice device;
    std::unique_ptr<Pipeline> pipeline, mesh;
    std::unique_ptr<Texture> color, texture;
    std::unique_ptr<Sampler> sampler;
    std::unique_ptr<Buffer> vertices, indices, indirect, uniform;
    std::unique_ptr<Target> target;
    std::unique_ptr<Command> command;
    StubCommand *stub = nullptr; // the same object
};

} // namespace

TEST_F(CommandTest, draws_what_is_bound) {
    bind();
    command->drawArrays(3);
    command->drawArraysInstanced(4, 1, 2, 5);
    command->drawElements(12);
    command->drawElementsInstanced(6, 6, 10);
    command->drawElementsInstanced(3, 1, -2, 7, 8);
    command->drawArraysIndirect(2);
    command->drawElementsIndirect(indirect.get(), 20, 1);
    command->setPipeline(mesh.get());
    command->drawMesh(8);
    EXPECT_EQ(device.calls.take(), "drawArrays 3 0 1 0\ndrawArrays 4 1 2 5\ndrawElements 12 0 0 1 0\n"
                                   "drawElements 6 6 0 10 0\ndrawElements 3 1 -2 7 8\n"
                                   "drawIndirect 0 0 1 16\ndrawIndirect 0 16 1 16\ndrawIndirect 1 20 1 20\n"
                                   "bind grass\ndrawMesh 8 1 1\n");
    device.features.drawIndirectCount = true;
    command->setPipeline(pipeline.get());
    command->drawArraysIndirect(2, 32);
    EXPECT_EQ(device.calls.take(), "bind sky\ndrawIndirect 0 0 2 32\n");
    EXPECT_EQ(log.take(), "");
}

TEST_F(CommandTest, marks_only_what_changed) {
    bind();
    EXPECT_EQ(stub->getUpdateMask() & StubCommand::UpdateCommand, uint32_t(StubCommand::UpdateCommand));
    command->drawArrays(3);
    const struct {
        const char *name;
        std::function<void()> run;
        uint32_t mask;
    } rows[] = {
        {"the same again", [&] { bind(); }, 0},
        {"vertex offset", [&] { command->setVertexOffset(0, 12, true); }, StubCommand::UpdateVertex},
        {"vertex offset of before", [&] { command->setVertexOffset(0, 0); }, 0},
        {"index format", [&] { command->setIndexBuffer(FormatRu32, indices.get()); }, StubCommand::UpdateIndex},
        {"index data",
         [&] {
             command->setIndices({0, 1, 2});
         },
         StubCommand::UpdateIndex},
        {"texture slice", [&] { command->setTexture(0, texture.get(), Slice(Mipmap(1))); }, StubCommand::UpdateTexture},
        {"sampler", [&] { command->setSampler(0, sampler.get()); }, 0},
        {"viewport", [&] { command->setViewport(0, Viewport(8.0f, 8.0f)); }, StubCommand::UpdateViewport},
        {"viewport again", [&] { command->setViewport(0, Viewport(8.0f, 8.0f)); }, 0},
        {"blend color", [&] { command->setBlendColor(0.0f, 0.0f, 0.0f, 0.0f); }, 0},
    };
    for(const auto &row : rows) {
        row.run();
        EXPECT_EQ(stub->getUpdateMask(), row.mask) << row.name;
        command->setVertexBuffer(0, vertices.get());
        command->drawArrays(1);
    }
    stub->clear_memory();
    EXPECT_FALSE(stub->getIndex().isSet());
}

TEST_F(CommandTest, fills_in_viewports_and_scissors) {
    command->setPipeline(pipeline.get());
    EXPECT_EQ(stub->getViewport(0), Viewport(64.0f, 64.0f));
    EXPECT_EQ(stub->getNumScissors(), 0u);
    command->setViewport(0, Viewport(1.0f, 2.0f, 3.0f, 4.0f, 0.25f, 0.5f));
    std::unique_ptr<Pipeline> many(device.createPipeline(pipeline.get()));
    many->setNumViewports(3).setScissorTest(true).create();
    command->setPipeline(many.get());
    EXPECT_EQ(stub->getViewport(0).x, 1.0f) << "what was set stays";
    EXPECT_EQ(stub->getViewport(2), Viewport(64.0f, 64.0f));
    EXPECT_EQ(stub->getScissor(2), Scissor(64, 64));

    std::unique_ptr<Command> secondary(device.createCommand());
    secondary->setPipeline(mesh.get());
    secondary->drawMesh(1);
    EXPECT_EQ(log.take(), "VKCommand::drawMesh(): viewport 0 of grass pipeline is not set\n");
}

TEST_F(CommandTest, traces_rays_and_writes_surfaces) {
    std::unique_ptr<Kernel> kernel(device.createKernel(nullptr));
    kernel->setName("blur");
    kernel->setSurfaces(1);
    kernel->addTracing();
    kernel->addTable(Kernel::TableTypeTexture, 4);
    static_cast<StubKernel *>(kernel.get())->setGroupSize(8, 8, 1);
    kernel->create();
    std::unique_ptr<Traversal> traversal(device.createTraversal());
    traversal->setName("rays");
    traversal->create();
    std::unique_ptr<Texture> image(device.createTexture2D(FormatRGBAu8n, 20, 12, Texture::FlagSurface));
    std::unique_ptr<Buffer> records = buffer(Buffer::FlagTracing, 64, "instances");
    std::unique_ptr<Tracing> tracing(device.createTracing(1, records.get()));
    std::unique_ptr<TextureTable> table(device.createTextureTable(Texture::Type2D, 4));
    std::unique_ptr<Query> query(device.createQuery(Query::TypeTime));
    std::unique_ptr<Compute> compute(device.createCompute());
    device.calls.take();

    compute->setKernel(kernel.get());
    compute->dispatch(1);
    EXPECT_EQ(log.take(), "VKCompute::dispatch(): surface texture 0 of blur kernel is not set\n");
    compute->setSurfaceTexture(0, image.get(), Slice(), FormatRu32);
    compute->dispatch(1);
    EXPECT_EQ(log.take(), "VKCompute::dispatch(): tracing 0 of blur kernel is not set\n");
    compute->setTracing(0, tracing.get());
    compute->dispatch(1);
    EXPECT_EQ(log.take(), "VKCompute::dispatch(): table 0 of blur kernel is not set\n");
    compute->setTextureTable(0, table.get());
    EXPECT_TRUE(compute->beginQuery(query.get()));
    compute->dispatch(image.get());
    compute->barrier(image.get());
    compute->endQuery(query.get());
    compute->setTraversal(traversal.get());
    EXPECT_EQ(compute->getKernel(), nullptr);
    compute->dispatch(1920, 1080, 1);
    EXPECT_TRUE(compute->clearTexture(image.get()));
    compute->setKernel(nullptr);
    EXPECT_EQ(device.calls.take(), "bind blur\nbeginQuery Time\ndispatch 3 2 1\nbarrierTexture 1\nendQuery Time\n"
                                   "bind rays\ntrace 1920 1080 1\nclearTexture 0,0,0 20x12x1 f0+1 l0+1 m0+1\n"
                                   "bind null\n");
    EXPECT_EQ(log.take(), "");
}

TEST_F(CommandTest, skips_draws_with_one_line) {
    bind();
    const struct {
        std::function<void()> run;
        const char *message;
    } rows[] = {
        {[&] { command->drawElements(13); }, "drawElements(): invalid index range 0-13: triangles buffer has 12"},
        {[&] { command->drawElements(1, ~0u); },
         "drawElements(): invalid index range 4294967295-4294967296: triangles buffer has 12"},
        {[&] { command->drawArraysIndirect(5); },
         "drawArraysIndirect(): invalid indirect range of 5 records: records buffer has 64 bytes"},
        {[&] { command->drawArraysIndirect(~0u, 64); },
         "drawArraysIndirect(): invalid indirect range of 4294967295 records: records buffer has 64 bytes"},
        {[&] { command->drawElementsIndirect(indirect.get(), 48, 1); },
         "drawElementsIndirect(): invalid indirect range of 1 records: records buffer has 16 bytes"},
        {[&] {
             command->setVertexBuffer(0, nullptr);
             command->drawArrays(3);
         },
         "drawArrays(): vertex buffer 0 of sky pipeline is not set"},
        {[&] {
             command->setIndexBuffer(FormatRu16, nullptr);
             command->setVertexBuffer(0, vertices.get());
             command->drawElements(3);
         },
         "drawElements(): index buffer of sky pipeline is not set"},
        {[&] {
             command->setTexture(0, nullptr);
             command->drawArrays(3);
         },
         "drawArrays(): texture 0 of sky pipeline is not set"},
        {[&] {
             command->setSampler(0, nullptr);
             command->drawArrays(3);
         },
         "drawArrays(): sampler 0 of sky pipeline is not set"},
        {[&] {
             command->setUniformBuffer(0, nullptr);
             command->drawArrays(3);
         },
         "drawArrays(): uniform buffer 0 of sky pipeline is not set"},
        {[&] {
             stub->ring_offset = stub->ring.size();
             command->setVertices<uint32_t>(0, {1, 2, 3});
         },
         "setVertexData(): can't get vertex buffer"},
        {[&] {
             command->setIndices({1, 2, 3});
         },
         "setIndexData(): can't get index buffer"},
    };
    for(const auto &row : rows) {
        row.run();
        EXPECT_EQ(log.take(), std::string("VKCommand::") + row.message + "\n");
    }
    EXPECT_EQ(device.calls.take(), "");
}

TEST_F(CommandTest, stops_misuse_before_the_driver) {
    StubDevice other_device;
    RecorderMisuse misuse(other_device);
    EXPECT_GE(misuse.rows.size(), 100u);
    misuse.check();
}
