// Samplers, tables, queries, fences and acceleration structures.

#include <gtest/gtest.h>

#include <cfloat>
#include <functional>
#include <memory>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "StubDevice.h"

using namespace Kolm;

namespace {

struct ResourceTest : testing::Test {
    std::unique_ptr<Buffer> create(Buffer::Flags flags, size_t size, const char *name = "data") {
        std::unique_ptr<Buffer> buffer(device.createBuffer(flags, size));
        buffer->setName(name);
        device.calls.take();
        return buffer;
    }
    CapturedLog log;
    StubDevice device;
};

} // namespace

TEST_F(ResourceTest, samplers_have_their_defaults) {
    std::unique_ptr<Sampler> sampler(device.createSampler());
    EXPECT_EQ(sampler->getFilter(), Sampler::FilterBilinear);
    EXPECT_EQ(sampler->getAnisotropy(), 16u);
    EXPECT_EQ(sampler->getWrapModeR(), Sampler::WrapModeRepeat);
    EXPECT_EQ(sampler->getLodMin(), -FLT_MAX);
    EXPECT_EQ(sampler->getLodMax(), FLT_MAX);
    EXPECT_EQ(sampler->getBorderColor(), Color());
    EXPECT_EQ(sampler->getCompareFunc(), Sampler::CompareFuncNone);
    EXPECT_FALSE(sampler->isCreated());
    sampler->setLod(1.0f, 4.0f, 0.5f).setCompareFunc(Sampler::CompareFuncLess);
    sampler->setReductionMode(Sampler::ReductionModeMax).setBorderColor(Color(1.0f));
    sampler->setWrapMode(Sampler::WrapModeClamp, Sampler::WrapModeMirror);

    std::unique_ptr<Sampler> copy(device.createSampler(sampler.get()));
    EXPECT_EQ(copy->getLodBias(), 0.5f);
    EXPECT_EQ(copy->getCompareFunc(), Sampler::CompareFuncLess);
    EXPECT_EQ(copy->getReductionMode(), Sampler::ReductionModeMax);
    EXPECT_EQ(copy->getWrapModeT(), Sampler::WrapModeMirror);
    EXPECT_EQ(copy->getWrapModeR(), Sampler::WrapModeRepeat);
    copy->clear();
    EXPECT_EQ(copy->getLodBias(), 0.0f);

    std::unique_ptr<Sampler> created(device.createSampler(Sampler::FilterTrilinear, Sampler::WrapModeBorder, 4));
    EXPECT_TRUE(created->isCreated());
    EXPECT_EQ(created->getWrapModeS(), Sampler::WrapModeBorder);
    EXPECT_EQ(device.calls.take(), "createSampler 4 4\n");
    for(uint32_t anisotropy : {0u, 17u}) {
        const ChildProcess child =
            runChild([&] { device.createSampler(Sampler::FilterLinear, Sampler::WrapModeClamp, anisotropy); });
        EXPECT_NE(child.err.find("Device::createSampler(): invalid anisotropy"), std::string::npos);
    }
    const ChildProcess child = runChild([&] { created->setFilter(Sampler::FilterPoint); });
    EXPECT_NE(child.err.find("Sampler::setFilter(): sampler is created"), std::string::npos);
}

TEST_F(ResourceTest, tables_keep_and_own_their_entries) {
    const int count = StubBuffer::count;
    std::unique_ptr<BufferTable> empty(device.createBufferTable(nullptr, 0, false));
    EXPECT_FALSE(empty->isCreated());
    std::unique_ptr<BufferTable> table(device.createBufferTable(40));
    auto buffer = create(Buffer::FlagStorage, 64);
    std::unique_ptr<Buffer> pending(device.createBuffer());
    Buffer *owned = device.createBuffer(Buffer::FlagStorage, 16);
    device.calls.take();

    EXPECT_TRUE(device.setBufferTable(table.get(), 39, buffer.get()));
    EXPECT_TRUE(device.setBufferTable(table.get(), 33, owned, true));
    EXPECT_EQ(table->getMemory(), 80u);
    EXPECT_TRUE(table->isOwner(33) && !table->isOwner(39));
    EXPECT_TRUE(device.setBufferTable(table.get(), 33, buffer.get(), false));
    EXPECT_EQ(StubBuffer::count, count + 2) << "the owned one is gone";
    EXPECT_FALSE(table->isOwner(33));
    EXPECT_TRUE(device.setBufferTable(table.get(), 33, nullptr));
    EXPECT_EQ(table->get(33), nullptr);
    EXPECT_EQ(device.calls.take(),
              "setBufferTable 39 1\nsetBufferTable 33 1\nsetBufferTable 33 1\nsetBufferTable 33 1\n");

    Buffer *list[] = {buffer.get(), nullptr, pending.get()};
    const struct {
        std::function<bool()> run;
        const char *message;
    } rows[] = {
        {[&] { return device.setBufferTable(table.get(), 40, buffer.get()); },
         "BufferTable::set(): can't set 40 buffer into 40 table\n"},
        {[&] { return device.setBufferTable(table.get(), 0, pending.get()); },
         "BufferTable::set(): buffer is not created\n"},
        {[&] { return device.setBufferTable(table.get(), 38, list, 3); },
         "BufferTable::set(): can't set 3 buffers into 40 table\n"},
        {[&] { return device.setBufferTable(table.get(), ~0u, list, 3); },
         "BufferTable::set(): can't set 3 buffers into 40 table\n"},
        {[&] { return device.setBufferTable(table.get(), 0, list, 3); },
         "BufferTable::set(): 2 buffer is not created\n"},
    };
    for(const auto &row : rows) {
        EXPECT_FALSE(row.run());
        EXPECT_EQ(log.take(), row.message);
    }
    EXPECT_EQ(table->get(0), nullptr) << "all or none";
    EXPECT_EQ(table->get(39), buffer.get());
    EXPECT_EQ(device.calls.take(), "");
    EXPECT_TRUE(device.setBufferTable(table.get(), 0, {device.createBuffer(Buffer::FlagStorage, 16)}, true));
    table->clear();
    EXPECT_EQ(table->getSize(), 0u);
    EXPECT_EQ(StubBuffer::count, count + 2);

    // textures: the same, and of one type
    const int textures = StubTexture::count;
    Texture *flat[] = {device.createTexture2D(FormatRu8n, 4), device.createTexture2D(FormatRGBAu8n, 8)};
    std::unique_ptr<Texture> cube(device.createTextureCube(FormatRu8n, 4));
    {
        std::unique_ptr<TextureTable> images(device.createTextureTable(flat, 2, true));
        EXPECT_EQ(images->getType(), Texture::Type2D);
        EXPECT_EQ(images->getMemory(), 16u + 256u);
        EXPECT_FALSE(device.setTextureTable(images.get(), 0, cube.get()));
        EXPECT_EQ(log.take(), "TextureTable::set(): can't set Cube texture into 2D table\n");
        EXPECT_FALSE(device.setTextureTable(images.get(), 2, cube.get()));
        EXPECT_EQ(log.take(), "TextureTable::set(): can't set 2 texture into 2 table\n");
        EXPECT_FALSE(device.setTextureTable(images.get(), 1, {cube.get(), cube.get()}));
        EXPECT_EQ(log.take(), "TextureTable::set(): can't set 2 textures into 2 table\n");
        EXPECT_EQ(images->get(0), flat[0]);
    }
    EXPECT_EQ(StubTexture::count, textures + 1);
}

TEST_F(ResourceTest, queries_give_results_when_they_are_there) {
    std::unique_ptr<Query> time(device.createQuery(Query::TypeTime)), work(device.createQuery(Query::TypeStatistics));
    std::unique_ptr<Query> samples(device.createQuery(Query::TypeAnySamples));
    StubQuery *stub = static_cast<StubQuery *>(time.get());
    stub->values = {100, 350};
    uint64_t value = 7;
    EXPECT_FALSE(time->getTime(value)) << "never begun";
    EXPECT_TRUE(device.beginQuery(time.get()));
    EXPECT_TRUE(time->isBegun());
    EXPECT_FALSE(time->isAvailable());
    EXPECT_TRUE(device.endQuery(time.get()));
    EXPECT_TRUE(time->getTime(value));
    EXPECT_EQ(value, 250u);
    stub->values.clear();
    EXPECT_FALSE(time->getTime(value));
    EXPECT_EQ(value, 250u);

    EXPECT_TRUE(device.beginQuery(work.get()) && device.endQuery(work.get()));
    StubQuery *statistics = static_cast<StubQuery *>(work.get());
    for(uint32_t i = 0; i < 11; i++) statistics->values.push_back(i);
    Query::Statistics result;
    EXPECT_TRUE(work->getStatistics(result));
    EXPECT_EQ(result.input_vertices, 0u);
    EXPECT_EQ(result.compute_invocations, 10u);

    auto buffer = create(Buffer::FlagStorage, 256);
    device.calls.take();
    EXPECT_TRUE(device.copyQuery(time.get(), buffer.get(), 240));
    EXPECT_TRUE(device.copyQueries({time.get(), work.get()}, buffer.get()));
    EXPECT_EQ(device.calls.take(), "copyQueries 1 240 16\ncopyQueries 2 0 88\n");
    const struct {
        std::function<bool()> run;
        const char *message;
    } rows[] = {
        {[&] { return device.copyQuery(samples.get(), buffer.get()); }, "unnamed query is not ended"},
        {[&] { return device.copyQuery(time.get(), buffer.get(), 248); },
         "invalid range of 1 records from 248 on: data buffer has 256 bytes"},
        {[&] { return device.copyQuery(time.get(), buffer.get(), 4); },
         "invalid offset 4 and stride 16: multiples of 8 are needed, and a stride of 16"},
        {[&] {
             return device.copyQueries({time.get(), time.get()}, buffer.get(), 0, SIZE_MAX - 7);
         },
         "invalid range of 2 records from 0 on: data buffer has 256 bytes"},
    };
    for(const auto &row : rows) {
        EXPECT_FALSE(row.run());
        EXPECT_EQ(log.take(), std::string("VKDevice::copyQueries(): ") + row.message + "\n");
    }
    time->setName("frame");
    EXPECT_ASSERTION((device.beginQuery(time.get()), device.beginQuery(time.get())),
                     "\"VKDevice::beginQuery(): frame query is already begun\"");
    EXPECT_ASSERTION(device.endQuery(time.get()), "\"VKDevice::endQuery(): frame query is not begun\"");
    const ChildProcess child = runChild([&] { time->getSamples(value); });
    EXPECT_NE(child.err.find("Query::getSamples(): invalid query type"), std::string::npos);
}

TEST_F(ResourceTest, fences_count_signals) {
    std::unique_ptr<Fence> fence(device.createFence(Fence::FlagTimeline | Fence::FlagShared));
    StubFence *stub = static_cast<StubFence *>(fence.get());
    fence->setName("upload");
    EXPECT_TRUE(fence->isSignaled() && fence->wait()) << "nothing to wait for";
    EXPECT_TRUE(device.waitFence(fence.get()));
    EXPECT_EQ(device.calls.take(), "");
    EXPECT_TRUE(device.signalFence(fence.get()) && device.flip(fence.get()) && device.waitFence(fence.get()));
    EXPECT_EQ(device.calls.take(), "signalFence 1\nflip fence\nwaitFence 2\n");
    EXPECT_FALSE(fence->isSignaled());
    stub->reached = 1;
    EXPECT_TRUE(fence->wait(1, 1000));
    EXPECT_FALSE(fence->wait(2, 1000));
    EXPECT_FALSE(fence->wait(1000));
    EXPECT_EQ(log.take(), "") << "a timeout is no failure";
    EXPECT_FALSE(fence->wait(3, 0));
    EXPECT_EQ(log.take(), "VKFence::wait(): invalid value 3 of upload fence: it has 2\n");
    stub->reached = 2;
    EXPECT_TRUE(fence->wait());
    EXPECT_EQ(fence->getHandle(), 3);

    std::unique_ptr<Fence> copy(device.createFence(fence.get()));
    EXPECT_EQ(copy->getFlags(), Fence::FlagTimeline);
    EXPECT_EQ(copy->getValue(), 2u);
    std::unique_ptr<Fence> plain(device.createFence(Fence::FlagNone));
    EXPECT_EQ(device.createFence(plain.get()), nullptr);
    EXPECT_EQ(log.take(), "Fence::create(): fence has no Shared flag\n");
    device.signalFence(plain.get());
    device.signalFence(plain.get());
    EXPECT_FALSE(plain->wait(1, 0));
    EXPECT_EQ(log.take(), "VKFence::wait(): invalid value 1 of unnamed fence: it has no Timeline flag\n");

    // A signal that could not be recorded does not count.
    device.no_support = true;
    EXPECT_FALSE(device.signalFence(plain.get()) || device.flip(plain.get()));
    EXPECT_EQ(plain->getValue(), 2u);
}

TEST_F(ResourceTest, tracings_are_described_and_built) {
    auto vertices = create(Buffer::FlagTracing, 36 * 12, "vertices"),
         indices = create(Buffer::FlagTracing, 72, "indices");
    auto scratch = create(Buffer::FlagScratch, 4096, "scratch"), records = create(Buffer::FlagTracing, 128, "records");
    auto sizes = create(Buffer::FlagStorage, 16, "sizes");
    std::unique_ptr<Tracing> mesh(
        device.createTracing(36, FormatRGBf32, 12, 36, FormatRu16, Tracing::FlagCompact | Tracing::FlagUpdate));
    std::unique_ptr<Tracing> boxes(device.createTracing(3, 24, indices.get()));
    std::unique_ptr<Tracing> scene(device.createTracing(2, records.get()));
    mesh->setName("cube");
    scene->setName("scene");
    EXPECT_STREQ(mesh->getDescription().get(), "Geometry 12");
    EXPECT_STREQ(boxes->getDescription().get(), "Bounds 3");
    EXPECT_STREQ(scene->getDescription().get(), "Instances 2");
    EXPECT_EQ(scene->getFlags(), Tracing::FlagFastTrace);

    mesh->setVertexBuffer(0, vertices.get()).setIndexBuffer(0, indices.get());
    Tracing::Instance instances[3];
    instances[0].tracing = mesh.get();
    instances[1].tracing = boxes.get();
    EXPECT_TRUE(device.buildTracings({mesh.get(), boxes.get()}, scratch.get()));
    EXPECT_TRUE(device.flushTracings({mesh.get(), boxes.get()}));
    EXPECT_TRUE(device.setTracing(scene.get(), instances, 2));
    EXPECT_TRUE(device.buildTracing(scene.get(), scratch.get(), 2048));
    EXPECT_TRUE(device.copyTracing(mesh.get(), sizes.get(), 8));
    EXPECT_TRUE(device.compactTracing(mesh.get()));
    EXPECT_TRUE(device.buildTracing(mesh.get(), scratch.get(), 0, Tracing::FlagUpdate));
    EXPECT_EQ(device.calls.take(), "buildTracing Geometry 12 0\nbuildTracing Bounds 3 1024\nflushTracings 2\n"
                                   "setTracing 2\nbuildTracing Instances 2 2048\ncopyTracings 1 8 8\ncompactTracing\n"
                                   "updateTracing Geometry 12 0\n");
    EXPECT_EQ(log.take(), "");

    std::unique_ptr<Tracing> copy(device.createTracing(mesh.get()));
    EXPECT_EQ(copy->getNumGeometries(), 1u);
    EXPECT_EQ(copy->getGeometry(0).vertex_buffer, vertices.get());
    EXPECT_TRUE(copy->create(Tracing::FlagNone));

    const struct {
        std::function<bool()> run;
        const char *message;
    } rows[] = {
        {[&] { return device.setTracing(scene.get(), instances, 3); },
         "setTracing(): invalid number of instances 3: scene tracing has 2"},
        {[&] { return device.setTracing(mesh.get(), instances, 1); },
         "setTracing(): cube tracing (Geometry 12) has no instances"},
        {[&] {
             instances[0].tracing = scene.get();
             return device.setTracing(scene.get(), instances, 1);
         },
         "setTracing(): invalid instance 0: scene tracing is of instances"},
        {[&] {
             instances[0].tracing = mesh.get();
             instances[0].mask = 256;
             return device.setTracing(scene.get(), instances, 1);
         },
         "setTracing(): invalid instance 0: data 0x0 and offset 0x0 have 24 bits, mask 0x100 has 8, flags 0x0 have 4"},
        {[&] { return device.buildTracing(mesh.get(), scratch.get(), 3328); },
         "buildTracings(): invalid scratch range 3328-4328: scratch buffer has 4096 bytes"},
        {[&] { return device.buildTracing(mesh.get(), scratch.get(), 8); },
         "buildTracings(): invalid scratch offset 8: a multiple of 256 is needed for cube tracing"},
        {[&] { return device.buildTracing(scene.get(), scratch.get(), 0, Tracing::FlagUpdate); },
         "buildTracings(): scene tracing (Instances 2) needs the flag Update"},
        {[&] {
             mesh->setVertexBuffer(0, vertices.get(), 4);
             return device.buildTracing(mesh.get(), scratch.get());
         },
         "buildTracings(): invalid vertex range 4-436: vertices buffer has 432 bytes"},
        {[&] {
             mesh->setVertexBuffer(0, vertices.get()).setIndexBuffer(0, indices.get(), 1);
             return device.buildTracing(mesh.get(), scratch.get());
         },
         "buildTracings(): invalid index offset 1: a multiple of 2 is needed for indices buffer"},
        {[&] { return device.copyTracing(scene.get(), sizes.get()); },
         "copyTracings(): scene tracing needs the flag Compact"},
        {[&] { return device.copyTracing(mesh.get(), sizes.get(), 16); },
         "copyTracings(): invalid range of 1 records from 16 on: sizes buffer has 16 bytes"},
    };
    for(const auto &row : rows) {
        EXPECT_FALSE(row.run());
        EXPECT_EQ(log.take(), std::string("VKDevice::") + row.message + "\n");
    }
    EXPECT_EQ(device.calls.take(), "");
    EXPECT_EQ(device.createTracing(3, 24, indices.get(), 0, Tracing::FlagFastTrace | Tracing::FlagFastBuild), nullptr);
    EXPECT_EQ(log.take(), "Tracing::create(): can't create tracing with FastTrace FastBuild flags\n");

    std::unique_ptr<Tracing> fresh(device.createTracing());
    EXPECT_FALSE(fresh->create());
    EXPECT_EQ(log.take(), "Tracing::create(): tracing is empty\n");
    const struct {
        std::function<void()> run;
        const char *text;
    } mistakes[] = {
        {[&] { fresh->addGeometry(4, FormatRGBf32, 12); }, "Tracing::addGeometry(): invalid number of triangles"},
        {[&] { fresh->addGeometry(3, FormatRu8, 12); }, "Tracing::addGeometry(): invalid vertex format"},
        {[&] { fresh->addGeometry(3, FormatRGBf32, 8); }, "Tracing::addGeometry(): invalid vertex stride"},
        {[&] { fresh->addBounds(1, 24), fresh->addGeometry(3, FormatRGBf32, 12); },
         "Tracing::addGeometry(): tracing is of another type"},
        {[&] { mesh->addGeometry(3, FormatRGBf32, 12); }, "Tracing::addGeometry(): tracing is created"},
        {[&] { mesh->setVertexBuffer(0, nullptr), device.buildTracing(mesh.get(), scratch.get()); },
         "VKDevice::buildTracings(): vertex buffer 0 is null"},
        {[&] { device.buildTracing(mesh.get(), sizes.get()); },
         "VKDevice::buildTracings(): invalid buffer: sizes buffer (16 B Storage) needs the flag Scratch"},
    };
    for(const auto &row : mistakes) {
        const ChildProcess child = runChild(row.run);
        EXPECT_TRUE(child.isAborted()) << row.text;
        EXPECT_NE(child.err.find(std::string("\"") + row.text + "\""), std::string::npos) << child.err;
    }
}

TEST_F(ResourceTest, devices_refuse_what_their_backend_lacks) {
    // A backend of buffers alone.
    struct Plain : StubDevice {
        Texture *createTexture() override { return Device::createTexture(); }
        Query *createQuery() override { return Device::createQuery(); }
        Target *createTarget(Surface *surface) override { return Device::createTarget(surface); }
        bool bind_buffer(Buffer *buffer, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind,
                         Fence *fence) override {
            return Device::bind_buffer(buffer, offsets, sizes, num, bind, fence);
        }
        using StubDevice::createQuery;
        using StubDevice::createTarget;
        using StubDevice::createTexture;
    } plain;
    EXPECT_EQ(plain.createTexture2D(FormatRu8n, 4), nullptr);
    EXPECT_EQ(log.take(), "VKDevice::createTexture(): textures are not supported\n");
    EXPECT_EQ(plain.createQuery(Query::TypeTime), nullptr);
    EXPECT_EQ(log.take(), "VKDevice::createQuery(): queries are not supported\n");
    EXPECT_EQ(plain.createTarget(static_cast<Surface *>(nullptr)), nullptr);
    EXPECT_EQ(log.take(), "VKDevice::createTarget(): surface targets are not supported\n");
    std::unique_ptr<Buffer> sparse(plain.createBuffer(Buffer::FlagSparse, 8192));
    EXPECT_FALSE(plain.bindBuffer(sparse.get(), 0, 4096, true));
    EXPECT_EQ(log.take(), "VKDevice::bindBuffer(): sparse buffers are not supported\n");
}
