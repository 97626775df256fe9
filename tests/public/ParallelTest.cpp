// The GPU algorithms through the public classes.

#include <Ostrevan.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace Ostrevan;

TEST(Parallel, scans_and_sorts) {
    Context context(PlatformVK);
    ASSERT_TRUE(context.create());
    Device device(context);
    ASSERT_TRUE(device);
    PrefixScan scan;
    RadixSort sort;
    EXPECT_FALSE(scan.isCreated());
    EXPECT_FALSE(sort.isCreated(RadixSort::FlagSingle));
    Async async;
    ASSERT_TRUE(async.init());
    ASSERT_TRUE(sort.create(device, RadixSort::FlagsAll, scan, 3000, 64, 4, &async));
    EXPECT_TRUE(sort.getPrefixScan() == scan);
    EXPECT_TRUE(scan.isCreated(PrefixScan::FlagsAll));

    // keys and values, then what is scanned; the ranges of the indirect forms follow
    constexpr uint32_t size = 3000;
    std::vector<uint32_t> words(size * 3);
    for(uint32_t i = 0; i < size; i++) words[i] = (i * 2654435761u) >> 8;
    for(uint32_t i = size; i < size * 3; i++) words[i] = i;
    const uint32_t ranges[] = {0, size, size, 0, size * 2, size, 0, 0};
    const Buffer::Flags flags = Buffer::FlagStorage | Buffer::FlagSource;
    Buffer buffer = device.createBuffer(flags, words.data(), words.size() * 4);
    Buffer dispatch = device.createBuffer(Buffer::FlagStorage, ranges, sizeof(ranges));
    {
        Compute compute = device.createCompute();
        EXPECT_TRUE(sort.dispatch(compute, buffer, 0, size, size, RadixSort::FlagNone, 24));
        EXPECT_TRUE(scan.dispatch(compute, buffer, size * 2, size));
        // what is sorted already, and the sums once more
        EXPECT_TRUE(sort.dispatchIndirect(compute, buffer, dispatch, 0, RadixSort::FlagNone, 24));
        EXPECT_TRUE(scan.dispatchIndirect(compute, buffer, 1, dispatch, 4));
    }
    std::vector<uint32_t> results(words.size());
    ASSERT_TRUE(device.getBuffer(buffer, results.data(), results.size() * 4));

    std::vector<uint32_t> order(size);
    for(uint32_t i = 0; i < size; i++) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return words[a] < words[b]; });
    uint32_t first = 0, second = 0;
    for(uint32_t i = 0; i < size; i++) {
        EXPECT_EQ(results[i], words[order[i]]);
        EXPECT_EQ(results[size + i], words[size + order[i]]);
        EXPECT_EQ(results[size * 2 + i], second);
        second += first;
        first += words[size * 2 + i];
    }
    sort.clear();
    EXPECT_FALSE(sort.isCreated());
}
