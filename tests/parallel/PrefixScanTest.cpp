// Prefix scan on the GPU against the sums of a loop.

#include "ChildProcess.h"
#include "KolmPrefixScan.h"
#include "RangeTest.h"

using namespace Kolm;

namespace {

class PrefixScanTest : public RangeTest {
protected:
    void TearDown() override {
        dispatches.clear();
        RangeTest::TearDown();
    }

    static void scan(std::vector<uint32_t> &words, const Range &range) {
        uint32_t sum = 0;
        for(uint32_t i = range.offset; i < range.offset + range.size; i++) {
            const uint32_t word = words[i];
            words[i] = sum;
            sum += word;
        }
    }

    /// Runs record(compute, buffer) on ranges of the sizes and compares with the CPU, which scans those up to \p limit.
    template<class Record> void run(const std::vector<uint32_t> &sizes, uint32_t limit, const Record &record) {
        uint32_t total = 0;
        const std::vector<Range> ranges = makeRanges(sizes, total);
        const std::vector<uint32_t> words = makeWords(total);
        BufferPtr buffer = createBuffer(buffer_flags, words);
        ComputePtr compute = createCompute();
        record(compute.get(), buffer.get(), ranges);
        compute.reset();
        std::vector<uint32_t> expected = words;
        for(const Range &range : ranges)
            if(range.size <= limit) scan(expected, range);
        expectEqual(getWords(buffer.get()), expected, ranges);
        ASSERT_TRUE(device->flip());
    }

    void run_single(PrefixScan &prefix_scan, const std::vector<uint32_t> &sizes) {
        run(sizes, ~0u, [&](Compute *compute, Buffer *buffer, const std::vector<Range> &ranges) {
            for(const Range &range : ranges)
                ASSERT_TRUE(prefix_scan.dispatch(compute, buffer, range.offset, range.size));
        });
    }

    void run_regions(PrefixScan &prefix_scan, const std::vector<uint32_t> &sizes) {
        run(sizes, prefix_scan.getMaxElements(),
            [&](Compute *compute, Buffer *buffer, const std::vector<Range> &ranges) {
                std::vector<uint32_t> offsets;
                for(const Range &range : ranges) offsets.push_back(range.offset);
                const uint32_t num = uint32_t(ranges.size());
                ASSERT_TRUE(prefix_scan.dispatch(compute, buffer, num, offsets.data(), sizes.data()));
            });
    }

    enum Form { FormSingle, FormCount, FormCountBuffer };

    void run_indirect(PrefixScan &prefix_scan, Form form, const std::vector<uint32_t> &sizes, uint32_t max_size = ~0u) {
        run(sizes, prefix_scan.getMaxElements(),
            [&](Compute *compute, Buffer *buffer, const std::vector<Range> &ranges) {
                // records from the word 8 on; the number of them is the second word
                std::vector<uint32_t> words = {~0u, uint32_t(ranges.size()), 0, 0, ~0u, ~0u, ~0u, ~0u};
                for(const Range &range : ranges) words.insert(words.end(), {range.offset, range.size, 0, 0});
                dispatches.push_back(createBuffer(Buffer::FlagStorage | Buffer::FlagSource, words));
                Buffer *dispatch = dispatches.back().get();
                if(form == FormSingle) {
                    for(uint32_t i = 0; i < ranges.size(); i++)
                        ASSERT_TRUE(prefix_scan.dispatchIndirect(compute, buffer, dispatch, 8 + i * 4,
                                                                 PrefixScan::FlagNone, max_size));
                } else if(form == FormCount) {
                    ASSERT_TRUE(prefix_scan.dispatchIndirect(compute, buffer, uint32_t(ranges.size()), dispatch, 8,
                                                             PrefixScan::FlagNone, max_size));
                } else {
                    ASSERT_TRUE(prefix_scan.dispatchIndirect(compute, buffer, dispatch, dispatch, 8, 1,
                                                             PrefixScan::FlagNone, max_size));
                }
            });
    }

    std::vector<BufferPtr> dispatches;
};

// Sizes around the limits of a group and of two levels, and some between them.
std::vector<uint32_t> get_limits(const PrefixScan &prefix, std::mt19937 &random, uint32_t most) {
    const uint32_t group = prefix.getScanElements();
    std::vector<uint32_t> sizes = {0, 1, 2, 3, 4, 5, group - 1, group, group + 1, group * 3 + 2, group * 4 + 1};
    const uint32_t limit = std::min(prefix.getMaxElements(), most);
    if(limit == prefix.getMaxElements()) sizes.insert(sizes.end(), {limit - 1, limit});
    for(uint32_t i = 0; i < 8; i++) sizes.push_back(random() % (limit + 1));
    return sizes;
}

} // namespace

TEST_F(PrefixScanTest, limits) {
    PrefixScan prefix;
    EXPECT_FALSE(prefix.isCreated());
    ASSERT_TRUE(prefix.create(device.get(), PrefixScan::ModeSingle, 256));
    EXPECT_TRUE(prefix.isCreated(PrefixScan::FlagSingle));
    EXPECT_FALSE(prefix.isCreated(PrefixScan::FlagMultiple));
    EXPECT_FALSE(prefix.isCreated(PrefixScan::FlagIndirect));
    EXPECT_EQ(prefix.getGroupSize(), 256u);
    EXPECT_EQ(prefix.getScanElements(), 1024u);
    EXPECT_EQ(prefix.getMaxElements(), 1048576u);

    // one element too many is told, and nothing is recorded
    BufferPtr buffer = createBuffer(buffer_flags, (1048576 + 8) * 4);
    ComputePtr compute = createCompute();
    expectLog("PrefixScan::dispatch(): can't scan 1048577 elements\n");
    EXPECT_FALSE(prefix.dispatch(compute.get(), buffer.get(), 4, 1048577));
    EXPECT_EQ(compute->getKernel(), nullptr);
    EXPECT_TRUE(prefix.dispatch(compute.get(), buffer.get(), 4, 1048576));
    compute.reset();
    ASSERT_TRUE(device->finish());

    expectLog("PrefixScan::create(): can't use 65536 threads");
    EXPECT_FALSE(prefix.create(device.get(), PrefixScan::ModeSingle, 65536));
    EXPECT_FALSE(prefix.isCreated());
    EXPECT_EQ(prefix.getGroupSize(), 0u);
    ASSERT_TRUE(prefix.create(device.get(), PrefixScan::ModeMultiple, 1, 3));
    EXPECT_EQ(prefix.getMaxElements(), 16u);
    EXPECT_EQ(prefix.getMaxRegions(), 3u);
    run_regions(prefix, {16, 17, 5});
}

// All small sizes with all sizes of groups, on each path.
TEST_F(PrefixScanTest, every_size_and_group) {
    for(uint32_t path = 0; path < NumPaths; path++) {
        setPath(path);
        for(const uint32_t groups : {8u, 32u, 64u, 128u, 256u, 512u, 1024u}) {
            if(path == PathChecked && groups != 64 && groups != 1024 && !isEverySize()) continue;
            SCOPED_TRACE(testing::Message() << groups << " threads, " << getPathName(path));
            PrefixScan prefix;
            ASSERT_TRUE(prefix.create(device.get(), PrefixScan::FlagsAll, groups, 4200));
            const uint32_t limit = std::min(4097u, prefix.getMaxElements() + 1);
            run_regions(prefix, makeSizes(limit, 5));
            run_single(prefix, get_limits(prefix, random, 300000));
            run_single(prefix, makeSizes(limit, 41));
            run_indirect(prefix, FormSingle, makeSizes(limit, 83));
            // as many groups as every device runs
            for(const auto &sizes : splitSizes(makeSizes(limit, 7), prefix.getScanElements(), 60000)) {
                run_indirect(prefix, FormCount, sizes);
                run_indirect(prefix, FormCountBuffer, sizes);
            }
            for(uint32_t i = 0; i < 20 && isEverySize(); i++)
                run_single(prefix, {uint32_t(random()) % (prefix.getMaxElements() + 1)});
            if(HasFatalFailure()) return;
        }
    }
}

TEST_F(PrefixScanTest, forms) {
    for(const uint32_t groups : {16u, 64u, 256u}) {
        SCOPED_TRACE(testing::Message() << groups << " threads");
        PrefixScan prefix;
        ASSERT_TRUE(prefix.create(device.get(), PrefixScan::FlagsAll, groups, 40));
        const std::vector<uint32_t> sizes = get_limits(prefix, random, 1 << 20);
        run_single(prefix, sizes);
        run_regions(prefix, sizes);
        for(const Form form : {FormSingle, FormCount, FormCountBuffer}) {
            SCOPED_TRACE(testing::Message() << "indirect form " << form);
            run_indirect(prefix, form, sizes);
        }
        // ranges above the maximum are passed over
        std::vector<uint32_t> large = {prefix.getMaxElements() + 1, 7, prefix.getScanElements() * 2, 0};
        if(groups == 16) {
            run_regions(prefix, large);
            for(const Form form : {FormSingle, FormCount, FormCountBuffer}) run_indirect(prefix, form, large);
        }
        // nothing of a second level is recorded for ranges that do not need one
        run_indirect(prefix, FormCount, {1, 2, prefix.getScanElements()}, prefix.getScanElements());
        if(HasFatalFailure()) return;
    }
}

// More totals than the buffer has room for: what fits is scanned, the rest stays as it is.
TEST_F(PrefixScanTest, indirect_room) {
    PrefixScan prefix;
    ASSERT_TRUE(prefix.create(device.get(), PrefixScan::FlagsAll, 16, 2));
    const uint32_t elements = prefix.getScanElements();
    uint32_t total = 0;
    // three ranges, of which two fit into two shares of the buffer; the count is more than the regions, too
    const std::vector<Range> ranges = makeRanges({elements * elements, elements * elements, elements * 40}, total);
    const std::vector<uint32_t> words = makeWords(total);
    std::vector<uint32_t> parameters = {3, 0, 0, 0};
    for(const Range &range : ranges) parameters.insert(parameters.end(), {range.offset, range.size, 0, 0});
    BufferPtr buffer = createBuffer(buffer_flags, words);
    BufferPtr dispatch = createBuffer(Buffer::FlagStorage, parameters);
    ComputePtr compute = createCompute();
    ASSERT_TRUE(prefix.dispatchIndirect(compute.get(), buffer.get(), dispatch.get(), dispatch.get(), 4, 0));
    compute.reset();
    const std::vector<uint32_t> results = getWords(buffer.get());
    uint32_t num_scanned = 0;
    std::vector<uint32_t> expected = words;
    for(const Range &range : ranges) {
        if(results[range.offset] != 0) continue;
        scan(expected, range);
        num_scanned++;
    }
    EXPECT_EQ(num_scanned, 2u);
    expectEqual(results, expected, ranges);
}

// The second of two equal dispatches takes the parameters of the first one.
TEST_F(PrefixScanTest, repeat) {
    PrefixScan prefix;
    ASSERT_TRUE(prefix.create(device.get(), PrefixScan::FlagsAll, 64, 8));
    uint32_t total = 0;
    const std::vector<Range> ranges = makeRanges({5, 1000, 256, 0, 3000}, total);
    const std::vector<uint32_t> words = makeWords(total);
    BufferPtr buffer = createBuffer(buffer_flags, words);
    std::vector<uint32_t> offsets, sizes, parameters;
    for(const Range &range : ranges) {
        offsets.push_back(range.offset);
        sizes.push_back(range.size);
        parameters.insert(parameters.end(), {range.offset, range.size, 0, 0});
    }
    BufferPtr dispatch = createBuffer(Buffer::FlagStorage, parameters);
    ComputePtr compute = createCompute();
    const uint32_t num = uint32_t(ranges.size());
    ASSERT_TRUE(prefix.dispatch(compute.get(), buffer.get(), num, offsets.data(), sizes.data()));
    ASSERT_TRUE(
        prefix.dispatch(compute.get(), buffer.get(), num, offsets.data(), sizes.data(), PrefixScan::FlagRepeat));
    ASSERT_TRUE(prefix.dispatchIndirect(compute.get(), buffer.get(), num, dispatch.get(), 0));
    ASSERT_TRUE(prefix.dispatchIndirect(compute.get(), buffer.get(), num, dispatch.get(), 0, PrefixScan::FlagRepeat));
    compute.reset();
    std::vector<uint32_t> expected = words;
    for(uint32_t i = 0; i < 4; i++)
        for(const Range &range : ranges) scan(expected, range);
    expectEqual(getWords(buffer.get()), expected, ranges);
}

TEST_F(PrefixScanTest, misuse) {
    EXPECT_ASSERTION(PrefixScan().create(nullptr, PrefixScan::ModeSingle),
                     "device && \"PrefixScan::create(): device is null\"");
    Device *dev = device.get();
    EXPECT_ASSERTION(PrefixScan().create(dev, PrefixScan::ModeSingle, 48),
                     "is_pow2(groups) && \"PrefixScan::create(): invalid group size\"");
    EXPECT_ASSERTION(PrefixScan().create(dev, PrefixScan::ModeSingle, 64, 0),
                     "regions > 0 && \"PrefixScan::create(): invalid number of regions\"");
    PrefixScan prefix;
    ASSERT_TRUE(prefix.create(dev, PrefixScan::ModeSingle, 64));
    BufferPtr buffer = createBuffer(buffer_flags, 64);
    ComputePtr compute = createCompute();
    EXPECT_ASSERTION(prefix.dispatch(compute.get(), buffer.get(), 2, 4),
                     "(offset & 3) == 0 && \"PrefixScan::dispatch(): invalid offset\"");
    EXPECT_ASSERTION(prefix.dispatch(compute.get(), buffer.get(), 4, 13),
                     "(offset + size) * 4 <= data->getSize() && \"PrefixScan::dispatch(): invalid data buffer size\"");
    const uint32_t zero = 0;
    EXPECT_ASSERTION(prefix.dispatch(compute.get(), buffer.get(), 1, &zero, &zero),
                     "isCreated(FlagMultiple) && \"PrefixScan::dispatch(): is not created\"");
}
