// The draw recorder, the slots of textures, surfaces, tracings and tables, and all misuse that a recorder stops: one line
// with class, method, object, what was given and what is allowed, and nothing that reaches the driver.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "StubDevice.h"

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
    bind();
    StubDevice other(PlatformCU);
    std::unique_ptr<Texture> foreign(other.createTexture2D(FormatRu8n, 4)), fresh(device.createTexture());
    std::unique_ptr<Texture> image(
        device.createTexture2D(FormatRGBAu8n, 8, Texture::FlagSurface | Texture::FlagMipmaps));
    std::unique_ptr<Texture> bytes(device.createTexture2D(FormatRu8n, 8));
    std::unique_ptr<Sampler> pending(device.createSampler());
    std::unique_ptr<Pipeline> undone(device.createPipeline());
    std::unique_ptr<Target> idle(device.createTarget());
    std::unique_ptr<Buffer> texels = buffer(Buffer::FlagTexel, 64, "texels");
    std::unique_ptr<Buffer> condition = buffer(Buffer::FlagConditional, 16, "condition");
    std::unique_ptr<Buffer> records = buffer(Buffer::FlagTracing, 64, "instances");
    std::unique_ptr<Tracing> geometry(device.createTracing(3, FormatRGBf32, 12, 0, FormatUnknown)),
        scene(device.createTracing(1, records.get()));
    geometry->setName("rock");
    std::unique_ptr<BufferTable> buffers(device.createBufferTable(4));
    std::unique_ptr<TextureTable> images(device.createTextureTable(Texture::Type2D, 8));
    std::unique_ptr<Query> query(device.createQuery(Query::TypeSamples));
    query->setName("visible");
    image->setName("image");
    bytes->setName("bytes");
    std::unique_ptr<Command> empty(device.createCommand(target.get()));
    std::unique_ptr<Kernel> kernel(device.createKernel(nullptr));
    kernel->setName("blur");
    kernel->setSurfaces(2).setSamplers(1).setTextures(1);
    kernel->addTracing();
    kernel->addTexel();
    kernel->addTable(Kernel::TableTypeTexture, 4);
    kernel->addTable(Kernel::TableTypeStorage, 4);
    kernel->create();
    std::unique_ptr<Compute> compute(device.createCompute());
    compute->setKernel(kernel.get());
    const Viewport viewport(8.0f, 8.0f);
    const Viewport viewports[2] = {viewport, viewport};
    Texture *none[1] = {nullptr};

    const struct {
        std::function<void()> run;
        const char *text; // behind "VK"
    } rows[] = {
        // nothing is bound
        {[&] { empty->setSampler(0, sampler.get()); }, "Command::setSampler(): pipeline is null"},
        {[&] { empty->setTexture(0, texture.get()); }, "Command::setTexture(): pipeline is null"},
        {[&] { empty->setSurfaceTexture(0, image.get()); }, "Command::setSurfaceTexture(): pipeline is null"},
        {[&] { empty->setUniformData(0, "1", 1); }, "Command::setUniformData(): pipeline is null"},
        {[&] { empty->setStorageBuffer(0, uniform.get()); }, "Command::setStorageBuffer(): pipeline is null"},
        {[&] { empty->setTracing(0, scene.get()); }, "Command::setTracing(): pipeline is null"},
        {[&] { empty->setTexelBuffer(0, texels.get()); }, "Command::setTexelBuffer(): pipeline is null"},
        {[&] { empty->setTextureTable(0, images.get()); }, "Command::setTextureTable(): pipeline is null"},
        {[&] { empty->setStorageTable(0, buffers.get()); }, "Command::setStorageTable(): pipeline is null"},
        {[&] { empty->setVertexBuffer(0, vertices.get()); }, "Command::setVertexBuffer(): pipeline is null"},
        {[&] { empty->setIndexBuffer(FormatRu16, indices.get()); }, "Command::setIndexBuffer(): pipeline is null"},
        {[&] { empty->setIndirectBuffer(indirect.get()); }, "Command::setIndirectBuffer(): pipeline is null"},
        {[&] { empty->setViewport(0, viewport); }, "Command::setViewport(): pipeline is null"},
        {[&] { empty->setScissor(0, Scissor(1, 1)); }, "Command::setScissor(): pipeline is null"},
        {[&] { empty->drawArrays(3); }, "Command::drawArrays(): pipeline is null"},
        {[&] { empty->drawElements(3); }, "Command::drawElements(): pipeline is null"},
        {[&] { empty->drawMesh(1); }, "Command::drawMesh(): pipeline is null"},
        {[&] { empty->drawArraysIndirect(indirect.get(), 0, 1); }, "Command::drawArraysIndirect(): pipeline is null"},
        {[&] { command->setPipeline(undone.get()); }, "Command::setPipeline(): unnamed pipeline is not created"},
        {[&] { compute->setKernel(nullptr), compute->dispatch(1); }, "Compute::dispatch(): kernel is null"},
        // index
        {[&] { command->setSampler(1, sampler.get()); },
         "Command::setSampler(): invalid sampler index 1: sky pipeline has 1"},
        {[&] { command->setTexture(~0u, texture.get()); },
         "Command::setTexture(): invalid texture index 4294967295: sky pipeline has 1"},
        {[&] {
             command->setTextures(0, {texture.get(), texture.get()});
         },
         "Command::setTextures(): invalid texture range 0-2: sky pipeline has 1"},
        {[&] { command->setSurfaceTexture(0, image.get()); },
         "Command::setSurfaceTexture(): invalid surface index 0: sky pipeline has 0"},
        {[&] { command->setUniformBuffer(1, uniform.get()); },
         "Command::setUniformBuffer(): invalid uniform index 1: sky pipeline has 1"},
        {[&] { command->setTracing(0, scene.get()); },
         "Command::setTracing(): invalid tracing index 0: sky pipeline has 0"},
        {[&] { command->setTexelBuffer(0, texels.get()); },
         "Command::setTexelBuffer(): invalid texel index 0: sky pipeline has 0"},
        {[&] { command->setTextureTable(0, images.get()); },
         "Command::setTextureTable(): invalid table index 0: sky pipeline has 0"},
        {[&] { command->setVertexBuffer(1, vertices.get()); },
         "Command::setVertexBuffer(): invalid vertex index 1: sky pipeline has 1"},
        {[&] { command->setViewports(viewports, 2); },
         "Command::setViewports(): invalid viewport range 0-2: sky pipeline has 1"},
        {[&] { command->setScissor(1, Scissor(1, 1)); },
         "Command::setScissor(): invalid scissor range 1-2: sky pipeline has 1"},
        // objects
        {[&] { command->setTexture(0, foreign.get()); },
         "Command::setTexture(): invalid platform: unnamed texture is of Cuda"},
        {[&] { command->setTexture(0, fresh.get()); }, "Command::setTexture(): unnamed texture is not created"},
        {[&] { command->setTextures(0, nullptr, 1); }, "Command::setTextures(): textures are null"},
        {[&] { command->setSampler(0, pending.get()); }, "Command::setSampler(): this sampler is not created"},
        {[&] { command->setTexture(0, texture.get(), Slice(Mipmap(5))); },
         "Command::setTexture(): invalid slice of stars texture"},
        {[&] { command->setVertexBuffer(0, indices.get()); },
         "Command::setVertexBuffer(): invalid buffer: triangles buffer (24 B Index) needs the flag Vertex"},
        {[&] { command->setIndexBuffer(FormatRu16, vertices.get()); },
         "Command::setIndexBuffer(): invalid buffer: points buffer (120 B Vertex) needs the flag Index"},
        {[&] { command->setIndexBuffer(FormatRu8, indices.get()); },
         "Command::setIndexBuffer(): unknown buffer format Ru8: Ru16 and Ru32 are known"},
        {[&] { command->setIndirectBuffer(vertices.get()); },
         "Command::setIndirectBuffer(): invalid buffer: points buffer (120 B Vertex) needs the flag Indirect"},
        {[&] { command->drawArraysIndirect(vertices.get(), 0, 1); },
         "Command::drawArraysIndirect(): invalid buffer: points buffer (120 B Vertex) needs the flag Indirect"},
        // surfaces, tracings, texels, tables
        {[&] { compute->setSurfaceTexture(0, texture.get()); },
         "Compute::setSurfaceTexture(): invalid texture: stars texture (2D RGBAu8n 16x16 m5 Mipmaps) needs the flag "
         "Surface"},
        {[&] { compute->setSurfaceTexture(0, image.get(), Slice(Mipmap(0, 2))); },
         "Compute::setSurfaceTexture(): invalid slice of image texture: 2 mipmaps, 1 is written"},
        {[&] { compute->setSurfaceTexture(0, image.get(), Slice(), FormatRGBAf32); },
         "Compute::setSurfaceTexture(): invalid format RGBAf32: image texture is of RGBAu8n"},
        {[&] { compute->setTracing(0, geometry.get()); },
         "Compute::setTracing(): invalid tracing: rock tracing (Geometry 1) has no instances"},
        {[&] { compute->setTexelBuffer(0, uniform.get()); },
         "Compute::setTexelBuffer(): invalid buffer: params buffer (1.0 KB Uniform) needs the flag Texel"},
        {[&] { compute->setTextureTable(1, images.get()); },
         "Compute::setTextureTable(): invalid table type: table 1 of blur kernel is of storage buffers"},
        {[&] { compute->setStorageTable(0, buffers.get()); },
         "Compute::setStorageTable(): invalid table type: table 0 of blur kernel is of textures"},
        {[&] { compute->setTextureTable(0, images.get()); },
         "Compute::setTextureTable(): invalid table size 8: table 0 of blur kernel has 4"},
        // values
        {[&] { command->setViewport(0, Viewport(0.0f, 8.0f)); },
         "Command::setViewport(): invalid viewport 0x8 0-1: sizes above 0 and depths in 0-1 are needed"},
        {[&] { command->setViewport(0, Viewport(0.0f, 0.0f, 8.0f, 8.0f, 0.0f, 2.0f)); },
         "Command::setViewport(): invalid viewport 8x8 0-2: sizes above 0 and depths in 0-1 are needed"},
        {[&] { command->setViewport(0, Viewport(std::nanf(""), 8.0f)); },
         "Command::setViewport(): invalid viewport nanx8 0-1: sizes above 0 and depths in 0-1 are needed"},
        {[&] { command->setScissor(0, Scissor(-1, 0, 4, 4)); },
         "Command::setScissor(): invalid scissor -1,0 4x4: no negative values are allowed"},
        {[&] { command->setScissor(0, Scissor(INT32_MAX, 0, 4, 4)); },
         "Command::setScissor(): invalid scissor 2147483647,0 4x4: no negative values are allowed"},
        {[&] { command->setStencilRef(256); },
         "Command::setStencilRef(): invalid stencil reference 256: the limit is 255"},
        {[&] { command->setVertexBuffer(0, vertices.get(), 2); },
         "Command::setVertexBuffer(): invalid vertex offset 2: a multiple of 4 is needed for points buffer"},
        {[&] { command->setVertexBuffer(0, vertices.get(), 120); },
         "Command::setVertexBuffer(): invalid vertex range 120-120: points buffer has 120 bytes"},
        {[&] { command->setVertexOffset(0, SIZE_MAX, true); },
         "Command::setVertexOffset(): invalid vertex range 18446744073709551615-18446744073709551615: points buffer "
         "has 120 bytes"},
        {[&] { command->setIndexBuffer(FormatRu16, nullptr), command->setIndexOffset(2); },
         "Command::setIndexOffset(): index buffer is null"},
        {[&] { command->setIndexOffset(1); },
         "Command::setIndexOffset(): invalid index offset 1: a multiple of 2 is needed for triangles buffer"},
        {[&] { command->setVertexData(0, nullptr, 4); }, "Command::setVertexData(): data is null"},
        {[&] { command->getIndexData(FormatRu32, 0); }, "Command::getIndexData(): invalid index size 0"},
        {[&] { command->drawArraysIndirect(2, 8); },
         "Command::drawArraysIndirect(): invalid stride 8: a multiple of 4 is needed, and 16 at least"},
        {[&] { command->drawArraysIndirect(indirect.get(), 2, 1); },
         "Command::drawArraysIndirect(): invalid indirect offset 2: a multiple of 4 is needed"},
        {[&] { command->drawArraysIndirect(indirect.get(), 64, 1); },
         "Command::drawArraysIndirect(): invalid indirect offset 64: records buffer has 64 bytes"},
        {[&] { command->setIndirectBuffer(nullptr), command->drawArraysIndirect(1); },
         "Command::drawArraysIndirect(): indirect buffer is null"},
        {[&] { command->drawMesh(1); }, "Command::drawMesh(): invalid pipeline: sky pipeline has no mesh shader"},
        {[&] { command->setPipeline(mesh.get()), command->drawArrays(3); },
         "Command::drawArrays(): invalid pipeline: grass pipeline has a mesh shader"},
        // conditions, queries, targets, barriers
        {[&] { command->beginConditional(vertices.get(), 0); },
         "Command::beginConditional(): invalid buffer: points buffer (120 B Vertex) needs the flag Conditional"},
        {[&] { command->beginConditional(condition.get(), 16); },
         "Command::beginConditional(): invalid offset 16: condition buffer has 16 bytes"},
        {[&] { command->endConditional(); }, "Command::endConditional(): is not conditional"},
        {[&] { command->endQuery(query.get()); }, "Command::endQuery(): visible query is not begun"},
        {[&] { command->beginQuery(query.get()), compute->beginQuery(query.get()); },
         "Compute::beginQuery(): visible query is already begun"},
        {[&] { device.createCommand(idle.get()); }, "Device::createCommand(): target is not enabled"},
        {[&] { device.createCommand(nullptr); }, "Device::createCommand(): target is null"},
        {[&] { compute->barrier(none, 1); }, "Compute::barrier(): texture is null"},
        {[&] { compute->copyTexture(image.get(), texture.get()); },
         "Compute::copyTexture(): invalid src texture: stars texture (2D RGBAu8n 16x16 m5 Mipmaps) needs the flag "
         "Source"},
        {[&] { device.setTexture(texture.get(), Image()); }, "Device::setTexture(): target is enabled"},
    };
    EXPECT_GE(array_size(rows), 60u);
    for(const auto &row : rows) EXPECT_ASSERTION(row.run(), std::string("\"VK") + row.text + "\"");
}
