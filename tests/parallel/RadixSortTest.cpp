// Radix sort on the GPU against std::stable_sort.

#include <algorithm>
#include <numeric>

#include "ChildProcess.h"
#include "KolmRadixSort.h"
#include "RangeTest.h"

using namespace Kolm;

namespace {

// What the keys are.
enum Keys { KeysRandom = 0, KeysEqual, KeysLast, KeysSorted, KeysReversed, KeysFew, NumKeys };

class RadixSortTest : public RangeTest {
protected:
    void TearDown() override {
        dispatches.clear();
        RangeTest::TearDown();
    }

    // Keys of a range and its values stand in two ranges of a buffer, the values behind all keys.
    struct Sort {
        std::vector<uint32_t> sizes;
        uint32_t bits = 32;
        bool order = false;
        Keys keys = KeysRandom;
        uint32_t limit = ~0u; // larger ranges are passed over
    };

    uint32_t make_key(Keys type, uint32_t index, uint32_t size) {
        switch(type) {
        case KeysRandom: return random();
        case KeysEqual: return 0x12345678;
        case KeysLast: return (index & 3) ? ~0u : random();
        case KeysSorted: return index * 7;
        case KeysReversed: return (size - index) * 65537;
        default: return random() % 3;
        }
    }

    template<class Record> void run(const Sort &sort, const Record &record) {
        const uint32_t num = uint32_t(sort.sizes.size());
        std::vector<uint32_t> both = sort.sizes;
        both.insert(both.end(), sort.sizes.begin(), sort.sizes.end());
        uint32_t total = 0;
        const std::vector<Range> ranges = makeRanges(both, total);
        std::vector<uint32_t> words = makeWords(total);
        const uint32_t mask = (sort.bits == 32) ? ~0u : (1u << sort.bits) - 1;
        for(uint32_t i = 0; i < num; i++) {
            for(uint32_t j = 0; j < ranges[i].size; j++)
                words[ranges[i].offset + j] = make_key(sort.keys, j, ranges[i].size) & mask;
        }
        BufferPtr buffer = createBuffer(buffer_flags, words);
        ComputePtr compute = createCompute();
        std::vector<uint32_t> keys_offsets, data_offsets;
        for(uint32_t i = 0; i < num; i++) keys_offsets.push_back(ranges[i].offset);
        for(uint32_t i = 0; i < num; i++) data_offsets.push_back(ranges[num + i].offset);
        record(compute.get(), buffer.get(), keys_offsets, data_offsets);
        compute.reset();
        if(HasFatalFailure()) return;

        std::vector<uint32_t> expected = words;
        for(uint32_t i = 0; i < num; i++) {
            const uint32_t size = sort.sizes[i];
            if(size > sort.limit) continue;
            const uint32_t *keys = words.data() + keys_offsets[i];
            std::vector<uint32_t> indices(size);
            std::iota(indices.begin(), indices.end(), 0);
            std::stable_sort(indices.begin(), indices.end(), [&](uint32_t a, uint32_t b) { return keys[a] < keys[b]; });
            for(uint32_t j = 0; j < size; j++) {
                expected[keys_offsets[i] + j] = keys[indices[j]];
                expected[data_offsets[i] + j] = sort.order ? indices[j] : words[data_offsets[i] + indices[j]];
            }
        }
        expectEqual(getWords(buffer.get()), expected, ranges);
        ASSERT_TRUE(device->flip());
    }

    static RadixSort::Flags get_flags(const Sort &sort) {
        return sort.order ? RadixSort::FlagOrder : RadixSort::FlagNone;
    }

    void run_single(RadixSort &radix, const Sort &sort) {
        run(sort, [&](Compute *compute, Buffer *buffer, const std::vector<uint32_t> &keys,
                      const std::vector<uint32_t> &data) {
            for(size_t i = 0; i < keys.size(); i++)
                ASSERT_TRUE(
                    radix.dispatch(compute, buffer, keys[i], data[i], sort.sizes[i], get_flags(sort), sort.bits));
        });
    }

    void run_regions(RadixSort &radix, const Sort &sort) {
        run(sort, [&](Compute *compute, Buffer *buffer, const std::vector<uint32_t> &keys,
                      const std::vector<uint32_t> &data) {
            ASSERT_TRUE(radix.dispatch(compute, buffer, uint32_t(keys.size()), keys.data(), data.data(),
                                       sort.sizes.data(), get_flags(sort), sort.bits));
        });
    }

    enum Form { FormSingle, FormCount, FormCountBuffer };

    void run_indirect(RadixSort &radix, Form form, const Sort &sort, uint32_t max_size = ~0u) {
        run(sort, [&](Compute *compute, Buffer *buffer, const std::vector<uint32_t> &keys,
                      const std::vector<uint32_t> &data) {
            const uint32_t num = uint32_t(keys.size());
            const RadixSort::Flags flags = get_flags(sort);
            // records from the word 8 on; the number of them is the second word
            std::vector<uint32_t> words = {~0u, num, 0, 0, ~0u, ~0u, ~0u, ~0u};
            for(uint32_t i = 0; i < num; i++) words.insert(words.end(), {keys[i], data[i], sort.sizes[i], 0});
            dispatches.push_back(createBuffer(Buffer::FlagStorage, words));
            Buffer *dispatch = dispatches.back().get();
            if(form == FormSingle) {
                for(uint32_t i = 0; i < num; i++)
                    ASSERT_TRUE(
                        radix.dispatchIndirect(compute, buffer, dispatch, 8 + i * 4, flags, sort.bits, max_size));
            } else if(form == FormCount) {
                ASSERT_TRUE(radix.dispatchIndirect(compute, buffer, num, dispatch, 8, flags, sort.bits, max_size));
            } else {
                ASSERT_TRUE(
                    radix.dispatchIndirect(compute, buffer, dispatch, dispatch, 8, 1, flags, sort.bits, max_size));
            }
        });
    }

    /// All sizes up to 4096 in all forms, and 20 up to the maximum.
    void run_every_size(RadixSort &radix) {
        const uint32_t limit = std::max(radix.getMaxElements(), radix.getSortElements());
        const std::vector<uint32_t> every = makeSizes(std::min(limit, 4096u) + 1, 1);
        run_regions(radix, {every, 8});
        // the software driver maps pages for each dispatch until a submission is done, and the system limits their number
        for(size_t i = 0; i < every.size(); i += 256) {
            const std::vector<uint32_t> sizes(every.begin() + i, every.begin() + std::min(i + 256, every.size()));
            run_single(radix, {sizes, 8, true});
            run_indirect(radix, FormSingle, {sizes, 8});
        }
        // as many blocks as every device runs
        for(const auto &sizes : splitSizes(every, radix.getUpdateElements(), 40000)) {
            run_indirect(radix, FormCount, {sizes, 8, true});
            run_indirect(radix, FormCountBuffer, {sizes, 8});
        }
        const uint32_t most = std::min(limit, radix.getDataSize());
        for(uint32_t i = 0; i < 20; i++) {
            const uint32_t size = (uint32_t(random()) % (most + 1)) >> (i % 5);
            run_single(radix, {{size}, (i == 0) ? 32u : 4u});
        }
        printf("every size with groups of %u threads: %s\n", radix.getGroupSize(), HasFailure() ? "failed" : "equal");
        fflush(stdout);
    }

    std::vector<BufferPtr> dispatches;
};

} // namespace

TEST_F(RadixSortTest, limits) {
    PrefixScan scan;
    RadixSort radix;
    EXPECT_FALSE(radix.isCreated());
    ASSERT_TRUE(radix.create(device.get(), RadixSort::ModeSingle, &scan, 1001));
    EXPECT_TRUE(scan.isCreated(PrefixScan::FlagSingle));
    EXPECT_FALSE(scan.isCreated(PrefixScan::FlagMultiple));
    EXPECT_TRUE(radix.isCreated(RadixSort::FlagSingle));
    EXPECT_FALSE(radix.isCreated(RadixSort::FlagSingle | RadixSort::FlagOrder));
    EXPECT_EQ(radix.getSortElements(), 1024u);
    EXPECT_EQ(radix.getUpdateElements(), 512u);
    EXPECT_EQ(radix.getMaxElements(), 33554432u);
    EXPECT_EQ(radix.getDataSize(), 1004u);
    EXPECT_EQ(radix.getPrefixScan(), &scan);
    EXPECT_EQ(radix.getDataBuffer()->getSize(), 1004u * 8);

    BufferPtr buffer = createBuffer(buffer_flags, 8192 * 4);
    ComputePtr compute = createCompute();
    expectLog("RadixSort::dispatch(): can't sort 1025 elements\n");
    EXPECT_FALSE(radix.dispatch(compute.get(), buffer.get(), 0, 4096, 1025));
    EXPECT_EQ(compute->getKernel(), nullptr);
    compute.reset();

    // too few threads for the second level: only what a group can sort
    ASSERT_TRUE(radix.create(device.get(), RadixSort::ModeSingle, &scan, 1000, 4));
    EXPECT_EQ(radix.getMaxElements(), 0u);
    run_single(radix, {{0, 1, 7, 15, 16}});
}

// A path and the threads of a group.
using PathGroup = std::pair<uint32_t, uint32_t>;

class RadixSortGroupTest : public RadixSortTest, public testing::WithParamInterface<PathGroup> {
public:
    // All pairs, but for the rarest path one size of groups unless every size is tested.
    static std::vector<PathGroup> makePairs() {
        std::vector<PathGroup> pairs;
        for(uint32_t path = 0; path < NumPaths; path++) {
            for(const uint32_t groups : {8u, 32u, 64u, 128u, 256u, 512u, 1024u}) {
                if(path != PathChecked || groups == 64 || isEverySize()) pairs.emplace_back(path, groups);
            }
        }
        return pairs;
    }
};

// Sizes around what a group sorts, with all sizes of groups, on each path.
TEST_P(RadixSortGroupTest, every_size) {
    const auto [path, groups] = GetParam();
    setPath(path);
    PrefixScan scan;
    RadixSort radix;
    const uint32_t elements = groups * 4;
    ASSERT_TRUE(radix.create(device.get(), RadixSort::FlagsAll, &scan, 9000000, groups, 4200));
    // all that one group sorts, those around its limits, and some of more groups
    run_regions(radix, {makeSizes(elements + 2, 61), 9});
    std::vector<uint32_t> sizes = {elements * 2 - 1, elements * 2, elements * 2 + 1, elements * 3 + 7, 5000};
    for(uint32_t i = 0; i < 3; i++) sizes.push_back(random() % 20000);
    const uint32_t limit = std::max(radix.getMaxElements(), elements);
    for(uint32_t &size : sizes) size = std::min(size, limit);
    run_single(radix, {sizes, 32});
    run_regions(radix, {sizes, 10, true});
    if(isEverySize()) run_every_size(radix);
}

INSTANTIATE_TEST_SUITE_P(groups, RadixSortGroupTest, testing::ValuesIn(RadixSortGroupTest::makePairs()),
                         [](const auto &info) {
                             return std::string(RangeTest::getPathName(info.param.first)) + "_" +
                                    std::to_string(info.param.second);
                         });

// All sizes from nothing to several groups.
TEST_F(RadixSortTest, every_size) {
    if(isEverySize()) GTEST_SKIP() << "RadixSortGroupTest does it with all groups";
    PrefixScan scan;
    RadixSort radix;
    ASSERT_TRUE(radix.create(device.get(), RadixSort::FlagsAll, &scan, 9000000, 64, 4200));
    run_regions(radix, {makeSizes(4097, 3), 8});
    run_single(radix, {makeSizes(4097, 101), 8, true});
    run_indirect(radix, FormSingle, {makeSizes(4097, 211), 8, true});
    // as many blocks as every device runs
    run_indirect(radix, FormCount, {makeSizes(3000, 5), 4, true});
    run_indirect(radix, FormCountBuffer, {makeSizes(3000, 11), 4});
}

TEST_F(RadixSortTest, keys_and_bits) {
    PrefixScan scan;
    RadixSort radix;
    ASSERT_TRUE(radix.create(device.get(), RadixSort::FlagsAll, &scan, 20000, 64, 8));
    for(uint32_t keys = 0; keys < NumKeys; keys++) {
        SCOPED_TRACE(testing::Message() << "kind of keys " << keys);
        run_single(radix, {{200, 256, 3001, 4096}, 32, (keys & 1) != 0, Keys(keys)});
    }
    for(uint32_t bits = 1; bits <= 32; bits++) {
        SCOPED_TRACE(testing::Message() << bits << " bits");
        run_single(radix, {{255, 1500}, bits, (bits & 1) != 0});
    }
}

TEST_F(RadixSortTest, forms) {
    for(const uint32_t groups : {16u, 64u, 256u}) {
        SCOPED_TRACE(testing::Message() << groups << " threads");
        PrefixScan scan;
        RadixSort radix;
        ASSERT_TRUE(radix.create(device.get(), RadixSort::FlagsAll, &scan, 400000, groups, 40));
        const uint32_t elements = radix.getSortElements();
        std::vector<uint32_t> sizes = {0, 1, 3, 4, 5, elements - 1, elements, elements + 1, elements * 4 + 1};
        for(uint32_t i = 0; i < 4; i++) sizes.push_back(random() % std::min(60000u, radix.getMaxElements()));
        for(const bool order : {false, true}) {
            const Sort sort = {sizes, 12, order};
            run_regions(radix, sort);
            for(const Form form : {FormSingle, FormCount, FormCountBuffer}) {
                SCOPED_TRACE(testing::Message() << "indirect form " << form);
                run_indirect(radix, form, sort);
            }
        }
        run_indirect(radix, FormCount, {{1, 2, elements}}, elements);
        if(HasFatalFailure()) return;
    }
}

// What is too large for the object is told where the CPU knows it, and passed over where only the GPU does.
TEST_F(RadixSortTest, room) {
    PrefixScan scan;
    RadixSort radix;
    ASSERT_TRUE(radix.create(device.get(), RadixSort::FlagsAll, &scan, 2000, 16, 4));
    BufferPtr buffer = createBuffer(buffer_flags, 8192 * 4);
    ComputePtr compute = createCompute();
    const uint32_t keys[] = {0, 2000}, data[] = {4096, 6096}, sizes[] = {1000, 1004};
    expectLog("RadixSort::dispatch(): can't sort 2004 elements\n");
    EXPECT_FALSE(radix.dispatch(compute.get(), buffer.get(), 2, keys, data, sizes));
    EXPECT_EQ(compute->getKernel(), nullptr);
    compute.reset();
    for(const Form form : {FormSingle, FormCount, FormCountBuffer})
        run_indirect(radix, form, {{3000, 40}, 32, false, KeysRandom, 2000});
}

// More blocks than a dispatch has groups.
TEST_F(RadixSortTest, many_blocks) {
    PrefixScan scan;
    RadixSort radix;
    ASSERT_TRUE(scan.create(device.get(), PrefixScan::FlagsAll, 256));
    ASSERT_TRUE(radix.create(device.get(), RadixSort::FlagSingle, &scan, 1100000, 8));
    EXPECT_EQ(radix.getMaxElements(), 1048576u);
    run_single(radix, {{1048575}, 4});
}

TEST_F(RadixSortTest, misuse) {
    Device *dev = device.get();
    PrefixScan scan;
    EXPECT_ASSERTION(RadixSort().create(dev, RadixSort::ModeSingle, nullptr, 64),
                     "scan && \"RadixSort::create(): prefix scan is null\"");
    EXPECT_ASSERTION(RadixSort().create(dev, RadixSort::ModeSingle, &scan, 0),
                     "size > 0 && \"RadixSort::create(): invalid size\"");
    EXPECT_ASSERTION(RadixSort().create(dev, RadixSort::ModeSingle, &scan, 64, 48),
                     "is_pow2(groups) && \"RadixSort::create(): invalid group size\"");
    RadixSort radix;
    ASSERT_TRUE(radix.create(dev, RadixSort::ModeSingle, &scan, 64, 64));
    BufferPtr buffer = createBuffer(buffer_flags, 512);
    ComputePtr compute = createCompute();
    for(const uint32_t bits : {0u, 33u})
        EXPECT_ASSERTION(radix.dispatch(compute.get(), buffer.get(), 0, 64, 64, RadixSort::FlagNone, bits),
                         "bits > 0 && bits <= 32 && \"RadixSort::dispatch(): invalid bits count\"");
    EXPECT_ASSERTION(radix.dispatch(compute.get(), buffer.get(), 0, 62, 4),
                     "(region.data_offset & 3) == 0 && \"RadixSort::dispatch(): invalid data offset\"");
    EXPECT_ASSERTION(radix.dispatch(compute.get(), buffer.get(), 0, 64, 64, RadixSort::FlagOrder),
                     "isCreated(FlagSingle | (flags & FlagOrder)) && \"RadixSort::dispatch(): is not created\"");
}
