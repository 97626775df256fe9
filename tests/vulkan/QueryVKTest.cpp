// Queries on the device: times against the host's clock, counts against what was dispatched.

#include <string.h>
#include <time.h>

#include "GpuTest.h"
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
