// The compute recorder: what reaches the backend, what is marked for update, and what never gets through.

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmSize.h"
#include "StubDevice.h"

using namespace Kolm;

namespace {

struct ComputeTest : testing::Test {
    ComputeTest() {
        kernel.reset(static_cast<StubKernel *>(device.createKernel(nullptr)));
        kernel->setName("blur");
        kernel->setUniforms(2).setStorages(2);
        kernel->setGroupSize(64, 1, 1);
        kernel->create();
        uniform = create(Buffer::FlagUniform, 1024, "params");
        storage = create(Buffer::FlagStorage | Buffer::FlagSource, 1024, "data");
        compute.reset(device.createCompute());
        stub = static_cast<StubCompute *>(compute.get());
        device.calls.take();
    }
    std::unique_ptr<Buffer> create(Buffer::Flags flags, size_t size, const char *name) {
        std::unique_ptr<Buffer> buffer(device.createBuffer(flags, size));
        buffer->setName(name);
        device.calls.take();
        return buffer;
    }
    void bind() {
        compute->setKernel(kernel.get());
        compute->setUniformBuffers(0, {uniform.get(), uniform.get()});
        compute->setStorageBuffers(0, {storage.get(), storage.get()}, {0, 512});
        compute->dispatch(1, 1, 1);
        EXPECT_EQ(device.calls.take(), "bind blur\ndispatch 1 1 1\n");
    }
    // Bits of the changes since the last dispatch, which they are told to.
    uint32_t get_update() {
        const uint32_t mask = stub->getUpdateMask();
        compute->dispatch(1, 1, 1);
        return mask;
    }

    CapturedLog log;
    StubDevice device;
    std::unique_ptr<StubKernel> kernel;
    std::unique_ptr<Buffer> uniform, storage;
    std::unique_ptr<Compute> compute;
    StubCompute *stub = nullptr; // the same object
};

} // namespace

TEST_F(ComputeTest, divides_threads_by_the_group_size) {
    bind();
    kernel->setGroupSize(64, 8, 4);
    static const struct {
        uint32_t width, height, depth;
        const char *calls;
    } rows[] = {
        {65, 1, 1, "dispatch 2 1 1\n"}, {64, 8, 4, "dispatch 1 1 1\n"},     {0, 1, 1, "dispatch 0 1 1\n"},
        {1, 0, 2, "dispatch 1 0 1\n"},  {128, 9, 256, "dispatch 2 2 64\n"}, {64 * 65535, 1, 1, "dispatch 65535 1 1\n"},
    };
    for(const auto &row : rows) {
        compute->dispatch(row.width, row.height, row.depth);
        EXPECT_EQ(device.calls.take(), row.calls);
    }
    compute->dispatch(Size(2, 16));
    EXPECT_EQ(device.calls.take(), "dispatch 1 2 1\n");

    // Past the device's limit, also where the sum of a division by rounding up would wrap.
    compute->dispatch(64 * 65535 + 1, 1, 1);
    EXPECT_EQ(log.take(), "VKCompute::dispatch(): 65536x1x1 groups of blur kernel are above the limit of "
                          "65535x65535x64\n");
    compute->dispatch(~0u, 1, 1);
    EXPECT_EQ(log.take(), "VKCompute::dispatch(): 67108864x1x1 groups of blur kernel are above the limit of "
                          "65535x65535x64\n");
    EXPECT_EQ(device.calls.take(), "");
}

TEST_F(ComputeTest, runs_one_group_of_a_kernel_without_group_size) {
    bind();
    kernel->setGroupSize(0, 0, 0);
    compute->dispatch(1, 1, 1);
    EXPECT_EQ(device.calls.take(), "dispatch 1 1 1\n");
    EXPECT_ASSERTION(compute->dispatch(2, 1, 1), "\"VKCompute::dispatch(): kernel group width is undefined\"");
    EXPECT_ASSERTION(compute->dispatch(1, 2, 1), "\"VKCompute::dispatch(): kernel group height is undefined\"");
    EXPECT_ASSERTION(compute->dispatch(1, 1, 2), "\"VKCompute::dispatch(): kernel group depth is undefined\"");
}

TEST_F(ComputeTest, marks_only_what_changed) {
    bind();
    EXPECT_EQ(get_update(), 0u);
    compute->setKernel(kernel.get());
    compute->setUniformBuffer(0, uniform.get());
    EXPECT_EQ(get_update(), 0u) << "the same values again";
    device.calls.take();

    // A range of fixed size moves by its offset alone; one to the end of the buffer changes its size.
    compute->setUniformBuffer(0, uniform.get(), 0, 64);
    EXPECT_EQ(get_update(), StubCompute::UpdateUniform);
    compute->setUniformOffset(0, 256, true);
    EXPECT_EQ(get_update(), StubCompute::UpdateUniformOffset);
    compute->setUniformOffset(0, 256, true);
    EXPECT_EQ(stub->getUniform(0).offset, 512u);
    EXPECT_EQ(get_update(), StubCompute::UpdateUniformOffset);
    compute->setUniformOffset(0, 512);
    EXPECT_EQ(get_update(), 0u);
    compute->setStorageOffset(0, 16);
    EXPECT_EQ(stub->getStorage(0).size, 1008u);
    EXPECT_EQ(get_update(), StubCompute::UpdateStorage);

    // The offset of a fixed slot is part of its descriptor.
    kernel->setUniformFlags(0, Kernel::BindFlagFixed);
    compute->setUniformOffset(0, 0);
    EXPECT_EQ(get_update(), StubCompute::UpdateUniform);

    // Slots stay under another kernel, which has to bind them all.
    std::unique_ptr<Kernel> other(device.createKernel(kernel.get()));
    other->create();
    compute->setKernel(other.get());
    EXPECT_EQ(get_update(), StubCompute::UpdateAll);
    EXPECT_EQ(log.take(), "");
    compute->setKernel(nullptr);
    EXPECT_EQ(compute->getKernel(), nullptr);
}

TEST_F(ComputeTest, hands_out_transient_memory) {
    bind();
    const uint32_t value = 0x12345678;
    compute->setUniform(0, value);
    EXPECT_EQ(get_update(), StubCompute::UpdateUniform);
    compute->setUniformData(0, &value, sizeof(value));
    EXPECT_EQ(get_update(), StubCompute::UpdateUniformOffset) << "the next data of one size costs no descriptor";
    EXPECT_EQ(memcmp(stub->ring.data() + stub->getUniform(0).offset, &value, sizeof(value)), 0);
    EXPECT_NE(compute->getStorageData(1, 4096), nullptr);
    EXPECT_EQ(get_update(), StubCompute::UpdateStorage);

    // An offset counts from the start of the data.
    compute->setStorageOffset(1, 16);
    EXPECT_EQ(stub->getStorage(1).size, 4080u);
    EXPECT_EQ(stub->getStorage(1).offset, stub->getStorage(1).base + 16);

    device.calls.take();
    compute->setIndirect(Compute::DispatchIndirect{1, 2, 3, 0});
    compute->dispatchIndirect();
    EXPECT_EQ(device.calls.take(), "dispatchIndirect " + std::to_string(stub->getIndirect().offset) + "\n");
}

TEST_F(ComputeTest, reports_exhausted_memory) {
    bind();
    EXPECT_EQ(compute->getStorageData(0, 65537), nullptr);
    EXPECT_EQ(log.take(), "VKCompute::getStorageData(): can't get storage buffer\n");
    stub->ring_offset = stub->ring.size();
    compute->setUniformData(0, "1234", 4);
    EXPECT_EQ(log.take(), "VKCompute::setUniformData(): can't get uniform buffer\n");
    compute->setIndirectData("1234567890123456", 16);
    EXPECT_EQ(log.take(), "VKCompute::setIndirectData(): can't get indirect buffer\n");
    EXPECT_EQ(stub->getUniform(0).buffer, uniform.get());
    EXPECT_EQ(device.calls.take(), "");
}

TEST_F(ComputeTest, skips_work_with_empty_slots) {
    compute->setKernel(kernel.get());
    compute->setUniformBuffers(0, {uniform.get(), uniform.get()});
    compute->setStorageBuffer(0, storage.get());
    device.calls.take();
    compute->dispatch(64, 1, 1);
    EXPECT_EQ(log.take(), "VKCompute::dispatch(): storage buffer 1 of blur kernel is not set\n");
    compute->setStorageData(1, "1234", 4);
    compute->dispatch(64, 1, 1);
    EXPECT_EQ(device.calls.take(), "dispatch 1 1 1\n");

    // The frame's memory went away under the recorder.
    stub->clear_memory();
    EXPECT_EQ(stub->getUpdateMask(), StubCompute::UpdateAll);
    compute->dispatch(64, 1, 1);
    EXPECT_EQ(log.take(), "VKCompute::dispatch(): storage buffer 1 of blur kernel is not set\n");
    compute->setStorageBuffer(1, storage.get());
    compute->setUniformBuffer(1, nullptr);
    compute->dispatch(64, 1, 1);
    EXPECT_EQ(log.take(), "VKCompute::dispatch(): uniform buffer 1 of blur kernel is not set\n");
    EXPECT_EQ(device.calls.take(), "");
}

TEST_F(ComputeTest, records_transfers_in_order) {
    bind();
    std::unique_ptr<Buffer> dest = create(Buffer::FlagStorage, 1024, "dest");
    std::unique_ptr<Buffer> condition = create(Buffer::FlagConditional, 16, "condition");
    const uint32_t word = 0x01020304;
    EXPECT_TRUE(compute->clearBuffer(storage.get()));
    EXPECT_TRUE(compute->clearBuffer(storage.get(), FormatRu32, &word));
    EXPECT_TRUE(compute->setBuffer(storage.get(), &word, sizeof(word)));
    EXPECT_TRUE(compute->setBuffer(storage.get(), 8, nullptr, 0)) << "nothing is no work";
    compute->barrier({storage.get(), dest.get()});
    EXPECT_TRUE(compute->copyBuffer(dest.get(), storage.get()));
    compute->beginConditional(condition.get(), 12);
    compute->dispatch(1, 1, 1);
    compute->endConditional();
    EXPECT_EQ(device.calls.take(), "clearBuffer 0 1024 0x00000000\nclearBuffer 0 1024 0x01020304\nsetBuffer 0 4\n"
                                   "barrier 2\ncopyBuffer 0 0 1024\nbeginConditional 12\ndispatch 1 1 1\n"
                                   "endConditional\n");
    EXPECT_EQ(log.take(), "");

    EXPECT_FALSE(compute->setBuffer(storage.get(), 1020, &word, 8));
    EXPECT_FALSE(compute->copyBuffer(storage.get(), dest.get()));
    const uint32_t words[] = {1, 2, 3};
    EXPECT_FALSE(compute->clearBuffer(storage.get(), FormatRGBu32, words));
    EXPECT_EQ(device.calls.take(), "");
}

TEST_F(ComputeTest, warns_of_storage_above_the_limit) {
    bind();
    std::unique_ptr<Buffer> large = create(Buffer::FlagStorage, (1 << 20) + 16, "large");
    compute->setStorageBuffer(0, large.get());
    EXPECT_EQ(log.take(), "VKCompute::setStorageBuffer(): storage size 1048592 of large buffer is above the limit of "
                          "1048576\n");
    EXPECT_EQ(stub->getStorage(0).size, large->getSize());

    // The rest of a uniform buffer ends at the limit.
    std::unique_ptr<Buffer> blocks = create(Buffer::FlagUniform, 8192, "blocks");
    compute->setUniformBuffer(0, blocks.get());
    EXPECT_EQ(stub->getUniform(0).size, 4096u);
    compute->setUniformOffset(0, 7168);
    EXPECT_EQ(stub->getUniform(0).size, 1024u);
}

TEST_F(ComputeTest, runs_without_conditions_where_there_are_none) {
    device.features.conditionalRendering = false;
    bind();
    std::unique_ptr<Buffer> condition = create(Buffer::FlagConditional, 16, "condition");
    compute->beginConditional(condition.get(), 0);
    EXPECT_EQ(log.take(), "VKCompute::beginConditional(): conditions are not supported\n");
    compute->endConditional();
    EXPECT_EQ(device.calls.take(), "");
}
