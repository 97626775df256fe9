// Queries on the device: times against the host's clock, counts against what was dispatched.

#include <string.h>
#include <time.h>

#include "DrawTest.h"
#include "VKFence.h"
#include "VKQuery.h"

using namespace Kolm;

class QueryVKTest : public GpuTest {
protected:
    using QueryPtr = std::unique_ptr<Query>;

    void SetUp() override {
        GpuTest::SetUp();
        kernel = createKernel(R"(#version 450
            layout(local_size_x = 64) in;
            layout(std430, binding = 0) buffer Data { uint data[]; };
            void main() { data[gl_GlobalInvocationID.x] += gl_LocalInvocationID.x; })",
                              0, 1);
        buffer = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, std::vector<uint32_t>(4096, 0));
        ASSERT_TRUE(kernel && buffer);
    }
    void TearDown() override {
        kernel.reset();
        buffer.reset();
        GpuTest::TearDown();
    }

    QueryPtr create_query(Query::Type type) { return QueryPtr(device->createQuery(type)); }
    void dispatch(uint32_t threads, uint32_t num = 1) {
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setStorageBuffer(0, buffer.get());
        for(uint32_t i = 0; i < num; i++) {
            compute->dispatch(threads, 1, 1);
            compute->barrier(buffer.get());
        }
    }
    static uint64_t get_host_time() {
        timespec time = {};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return uint64_t(time.tv_sec) * 1000000000ull + uint64_t(time.tv_nsec);
    }

    KernelPtr kernel;
    BufferPtr buffer;
};

TEST_F(QueryVKTest, times) {
    const uint64_t host_begin = get_host_time();
    QueryPtr queries[4];
    for(QueryPtr &query : queries) {
        query = create_query(Query::TypeTime);
        ASSERT_TRUE(query);
        ASSERT_TRUE(device->beginQuery(query.get()));
        dispatch(4096, 20);
        ASSERT_TRUE(device->endQuery(query.get()));
        uint64_t time = 0;
        EXPECT_FALSE(query->getTime(time)) << "nothing was submitted yet";
    }
    ASSERT_TRUE(device->flush()); // a pair of times may lie in two command buffers
    ASSERT_TRUE(device->finish());
    const uint64_t host_time = get_host_time() - host_begin;
    uint64_t last = 0, sum = 0;
    for(QueryPtr &query : queries) {
        uint64_t begin = 0, end = 0, time = 0;
        ASSERT_TRUE(query->isAvailable());
        ASSERT_TRUE(query->getTimes(begin, end));
        ASSERT_TRUE(query->getTime(time));
        EXPECT_EQ(time, end - begin);
        EXPECT_GT(time, 0u);
        EXPECT_LE(last, begin) << "times of work behind other work";
        last = end;
        sum += time;
    }
    EXPECT_LE(sum, host_time);
}

// Every thread is counted once, also when the command buffer ends, or a child runs, between begin and end.
TEST_F(QueryVKTest, statistics) {
    static const struct {
        const char *name;
        bool (*split)(Device &device, Buffer *buffer);
    } rows[] = {
        {"one command buffer", [](Device &, Buffer *) { return true; }},
        {"flush", [](Device &device, Buffer *) { return device.flush(); }},
        {"finish", [](Device &device, Buffer *) { return device.finish(); }},
        {"flip", [](Device &device, Buffer *) { return device.flip(); }},
        {"read-back",
         [](Device &device, Buffer *buffer) {
             uint32_t word = 0;
             return device.getBuffer(buffer, &word, 4);
         }},
        {"command device",
         [](Device &device, Buffer *) {
             DevicePtr child(device.createCommandDevice(3));
             return child && device.execute(child.get());
         }},
    };
    ASSERT_TRUE(device->hasQuery(Query::TypeStatistics));
    for(const auto &row : rows) {
        QueryPtr query = create_query(Query::TypeStatistics);
        ASSERT_TRUE(query) << row.name;
        for(uint32_t round = 1; round <= 2; round++) { // the second begin discards the first result
            ASSERT_TRUE(device->beginQuery(query.get()));
            dispatch(64 * round);
            ASSERT_TRUE(row.split(*device, buffer.get())) << row.name;
            dispatch(640);
            ASSERT_TRUE(device->endQuery(query.get()));
            dispatch(64); // behind the end
            Query::Statistics statistics;
            EXPECT_FALSE(query->getStatistics(statistics)) << row.name;
            ASSERT_TRUE(device->finish());
            ASSERT_TRUE(query->getStatistics(statistics)) << row.name;
            EXPECT_EQ(statistics.compute_invocations, 640u + 64 * round) << row.name;
            EXPECT_EQ(statistics.vertex_invocations, 0u) << row.name;
            EXPECT_EQ(statistics.fragment_invocations, 0u) << row.name;
        }
    }
}

// The recorder's own begin and end, around single dispatches.
TEST_F(QueryVKTest, in_a_recorder) {
    QueryPtr first = create_query(Query::TypeStatistics);
    QueryPtr second = create_query(Query::TypeTime);
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    ASSERT_TRUE(compute->beginQuery(second.get()));
    ASSERT_TRUE(compute->beginQuery(first.get()));
    compute->dispatch(128, 1, 1);
    ASSERT_TRUE(device->flush());
    compute->dispatch(256, 1, 1);
    compute->endQuery(first.get());
    compute->endQuery(second.get());
    compute->dispatch(512, 1, 1);
    compute.reset();
    ASSERT_TRUE(device->finish());
    Query::Statistics statistics;
    uint64_t time = 0;
    ASSERT_TRUE(first->getStatistics(statistics));
    EXPECT_EQ(statistics.compute_invocations, 384u);
    ASSERT_TRUE(second->getTime(time));
    EXPECT_GT(time, 0u);
}

TEST_F(QueryVKTest, copies) {
    QueryPtr time = create_query(Query::TypeTime);
    QueryPtr whole = create_query(Query::TypeStatistics);
    QueryPtr split = create_query(Query::TypeStatistics);
    QueryPtr samples = create_query(Query::TypeSamples);
    BufferPtr results = createBuffer(Buffer::FlagSource, std::vector<uint32_t>(256, ~0u));
    for(Query *query : {time.get(), whole.get(), samples.get()}) ASSERT_TRUE(device->beginQuery(query));
    dispatch(64);
    for(Query *query : {samples.get(), whole.get(), time.get()}) ASSERT_TRUE(device->endQuery(query));
    const size_t stride = Query::MaxValues * 8;
    Query *queries[] = {time.get(), whole.get(), samples.get()};
    ASSERT_TRUE(device->copyQueries(queries, 3, results.get(), 8)); // before the result is there

    ASSERT_TRUE(device->beginQuery(split.get()));
    dispatch(128);
    ASSERT_TRUE(device->flush());
    dispatch(256);
    ASSERT_TRUE(device->endQuery(split.get()));
    expectLog("VKQuery::copy(): CPU syncronization for Statistics query");
    ASSERT_TRUE(device->copyQuery(split.get(), results.get(), 8 + stride * 3));

    uint64_t values[128] = {};
    ASSERT_TRUE(device->getBuffer(results.get(), values, sizeof(values)));
    EXPECT_EQ(values[0], ~0ull);
    uint64_t begin = 0, end = 0;
    ASSERT_TRUE(time->getTimes(begin, end));
    if(getAdapter()->getLimits().timestampPeriod == 1.0f) {
        EXPECT_EQ(values[1], begin);
        EXPECT_EQ(values[2], end);
    }
    EXPECT_EQ(values[3], ~0ull) << "bytes behind a result stay";
    EXPECT_EQ(values[1 + 2 * Query::MaxValues - 1], 64u);
    EXPECT_EQ(values[1 + 2 * Query::MaxValues], 0u) << "no samples without drawing";
    EXPECT_EQ(values[1 + 4 * Query::MaxValues - 1], 384u);
    EXPECT_EQ(values[1 + 4 * Query::MaxValues], ~0ull);
}

// Results are used again when their frame has passed: memory stays flat.
TEST_F(QueryVKTest, many) {
    const size_t memory = Allocator::getMemory();
    size_t flat = 0;
    for(uint32_t frame = 0; frame < 200; frame++) {
        for(uint32_t i = 0; i < 60; i++) {
            QueryPtr query = create_query(i % 2 ? Query::TypeTime : Query::TypeAnySamples);
            ASSERT_TRUE(device->beginQuery(query.get()));
            const bool ended = (i % 3 != 0) && device->endQuery(query.get()); // the others end with the object
            ASSERT_EQ(ended, i % 3 != 0);
        }
        ASSERT_TRUE(device->flip());
        if(frame == 10) flat = Allocator::getMemory();
    }
    EXPECT_LE(Allocator::getMemory(), flat);
    EXPECT_GE(flat, memory);
}

TEST_F(QueryVKTest, failures) {
    QueryPtr query = create_query(Query::TypeTime);
    DevicePtr other(device->createComputeDevice(2));
    ASSERT_TRUE(other);
    ASSERT_TRUE(device->beginQuery(query.get()));
    expectLog("VKQuery::end(): query was begun on another device");
    EXPECT_FALSE(other->endQuery(query.get()));
    EXPECT_FALSE(query->isAvailable());
    ASSERT_TRUE(other->beginQuery(query.get())) << "it can be begun again, and elsewhere";
    ASSERT_TRUE(other->endQuery(query.get()));
    ASSERT_TRUE(other->finish());
    EXPECT_TRUE(query->isAvailable());
    query.reset();
    other.reset();
    kernel.reset();
    buffer.reset();
    device.reset();
    offscreen.reset();

    VK::hideAdapterExtension("EXT_host_query_reset");
    offscreen.reset(new VKOffscreen());
    ASSERT_TRUE(offscreen->create());
    device.reset(new VKDevice(offscreen.get()));
    expectLog("VKQuery::create(): queries are not supported");
    EXPECT_FALSE(create_query(Query::TypeTime));
    VK::hideAdapterExtension(nullptr);
}

// Samples of triangles are their pixels, whoever begins the query and wherever a pass begins and ends.
class DrawQueryVKTest : public DrawTest {
protected:
    using QueryPtr = std::unique_ptr<Query>;

    void SetUp() override {
        DrawTest::SetUp();
        pipeline = createPipeline({{Shader::TypeVertex, R"(#version 450
            layout(std140, binding = 0) uniform Params { vec4 rect; };
            void main() { gl_Position = vec4(rect.xy + rect.zw * vec2(gl_VertexIndex & 1, gl_VertexIndex >> 1), 0.0f, 1.0f); }
        )"},
                                   {Shader::TypeFragment, white_fragment}},
                                  [](Pipeline &p) {
                                      p.setUniformMask(0, Shader::MaskVertex);
                                      p.setPrimitive(Pipeline::PrimitiveTriangleStrip);
                                  });
        texture = createTexture(FormatRGBAu8n, 64, 64);
        target = createTarget({texture.get()}, Target::OpClearStore);
        ASSERT_TRUE(pipeline && target);
    }
    void TearDown() override {
        pipeline.reset();
        target.reset();
        texture.reset();
        DrawTest::TearDown();
    }
    /// A rectangle of \p width x \p height pixels in the middle of the target.
    void draw_rect(Command &command, uint32_t width, uint32_t height) {
        const float w = float(width) / 32.0f, h = float(height) / 32.0f;
        command.setPipeline(pipeline.get());
        command.setUniform(0, std::array<float, 4>{-w * 0.5f, -h * 0.5f, w, h});
        command.drawArrays(4);
    }
    uint64_t get_samples(Query *query) {
        uint64_t samples = ~0ull;
        EXPECT_TRUE(device->finish());
        EXPECT_TRUE(query->getSamples(samples));
        return samples;
    }

    PipelinePtr pipeline;
    TexturePtr texture;
    TargetPtr target;
};

TEST_F(DrawQueryVKTest, samples) {
    QueryPtr samples(device->createQuery(Query::TypeSamples));
    QueryPtr other(device->createQuery(Query::TypeSamples));
    QueryPtr any(device->createQuery(Query::TypeAnySamples));
    QueryPtr statistics(device->createQuery(Query::TypeStatistics));
    QueryPtr time(device->createQuery(Query::TypeTime));
    const auto draw_rects = [&](Query *query, uint32_t width, uint32_t height) {
        CommandPtr command(device->createCommand(target.get()));
        draw_rect(*command, 10, 6);
        if(query) {
            ASSERT_TRUE(command->beginQuery(query));
        }
        if(width) draw_rect(*command, width, height);
        if(query) command->endQuery(query);
        draw_rect(*command, 2, 2);
    };
    ASSERT_TRUE(device->beginQuery(statistics.get()));
    ASSERT_TRUE(device->beginQuery(time.get()));
    ASSERT_TRUE(target->begin());
    draw_rects(samples.get(), 4, 4);
    ASSERT_TRUE(target->end());
    EXPECT_EQ(get_samples(samples.get()), 16u);

    ASSERT_TRUE(device->beginQuery(samples.get())); // around the target
    ASSERT_TRUE(target->begin());
    draw_rects(nullptr, 7, 3);
    expectLog("VKQuery::begin(): another Samples query is begun");
    EXPECT_FALSE(device->beginQuery(other.get()));
    ASSERT_TRUE(target->end());
    ASSERT_TRUE(device->endQuery(samples.get()));
    EXPECT_EQ(get_samples(samples.get()), 60u + 21 + 4);

    ASSERT_TRUE(target->begin());
    ASSERT_TRUE(device->beginQuery(other.get())); // before the first draw, to behind the end
    draw_rects(nullptr, 0, 0);
    ASSERT_TRUE(target->end());
    ASSERT_TRUE(device->endQuery(other.get()));
    EXPECT_EQ(get_samples(other.get()), 64u);

    for(const uint32_t size : {0u, 3u}) {
        ASSERT_TRUE(target->begin());
        draw_rects(any.get(), size, size);
        ASSERT_TRUE(target->end());
        EXPECT_EQ(get_samples(any.get()) != 0, size != 0);
    }
    ASSERT_TRUE(device->endQuery(statistics.get()));
    ASSERT_TRUE(device->endQuery(time.get()));
    ASSERT_TRUE(device->finish());
    Query::Statistics values;
    ASSERT_TRUE(statistics->getStatistics(values));
    EXPECT_EQ(values.input_vertices, 4u * 13);
    EXPECT_EQ(values.input_primitives, 2u * 13);
    EXPECT_GE(values.fragment_invocations, 64u * 5);
    uint64_t nanoseconds = 0;
    EXPECT_TRUE(time->getTime(nanoseconds));
}

// Command devices count what they draw; their parent's counts leave them out.
TEST_F(DrawQueryVKTest, command_devices) {
    QueryPtr own(device->createQuery(Query::TypeSamples));
    QueryPtr parent(device->createQuery(Query::TypeSamples));
    DevicePtr child(device->createCommandDevice(3));
    ASSERT_TRUE(device->beginQuery(parent.get()));
    ASSERT_TRUE(target->begin());
    {
        CommandPtr command(device->createCommand(target.get()));
        draw_rect(*command, 4, 2);
        CommandPtr child_command(child->createCommand());
        ASSERT_TRUE(child_command);
        ASSERT_TRUE(child_command->beginQuery(own.get()));
        draw_rect(*child_command, 10, 10);
        child_command->endQuery(own.get());
        child_command.reset();
        ASSERT_TRUE(device->execute(child.get()));
        draw_rect(*command, 6, 6);
    }
    ASSERT_TRUE(target->end());
    ASSERT_TRUE(device->endQuery(parent.get()));
    EXPECT_EQ(get_samples(own.get()), 100u);
    EXPECT_EQ(get_samples(parent.get()), 8u + 36);
}

// A target signals at its end, and waits at its begin for what another device does.
TEST_F(DrawQueryVKTest, target_fences) {
    std::unique_ptr<Fence> drawn(device->createFence(Fence::FlagNone));
    std::unique_ptr<Fence> filled(device->createFence(Fence::FlagNone));
    DevicePtr other(device->createComputeDevice(2));
    BufferPtr buffer = createBuffer(Buffer::FlagSource, std::vector<uint32_t>(64, 0));
    ASSERT_TRUE(other && device->finish());
    const uint32_t value = 9;
    ASSERT_TRUE(other->clearBuffer(buffer.get(), FormatRu32, &value));
    ASSERT_TRUE(other->signalFence(filled.get()));
    ASSERT_TRUE(target->begin(filled.get()));
    {
        CommandPtr command(device->createCommand(target.get()));
        draw_rect(*command, 64, 64);
    }
    ASSERT_TRUE(target->end(drawn.get()));
    EXPECT_EQ(drawn->getValue(), 1u);
    EXPECT_TRUE(drawn->wait()) << "it is submitted by the end";
    EXPECT_TRUE(filled->isSignaled());
    const std::vector<Pixel> pixels = getPixels(texture.get());
    for(const Pixel &pixel : pixels) ASSERT_EQ(pixel, (Pixel{255, 255, 255, 255}));
    ASSERT_TRUE(other->finish());
}
