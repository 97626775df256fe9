// A driver that runs out of memory in any call under the GPU algorithms.

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "FailureTest.h"
#include "KolmRadixSort.h"

using namespace Kolm;

namespace {

constexpr uint32_t num_elements = 5000;
const Buffer::Flags buffer_flags = Buffer::FlagStorage | Buffer::FlagSource;

class FailureParallelTest : public FailureTest {
protected:
    // True if all of it went well, and then the result is right; false if something was refused.
    bool scan() {
        const std::vector<uint32_t> words(num_elements, 3);
        PrefixScan prefix;
        BufferPtr buffer(device->createBuffer(buffer_flags, words.data(), words.size() * 4));
        if(!buffer || !prefix.create(device.get(), PrefixScan::FlagSingle, 64)) return false;
        ComputePtr compute(device->createCompute());
        if(!prefix.dispatch(compute.get(), buffer.get(), 0, num_elements)) return false;
        std::vector<uint32_t> sums(num_elements);
        if(!device->getBuffer(buffer.get(), 0, sums.data(), sums.size() * 4)) return false;
        uint32_t num_wrong = 0;
        for(uint32_t i = 0; i < num_elements; i++) num_wrong += (sums[i] != i * 3);
        EXPECT_EQ(num_wrong, 0u);
        return true;
    }
    bool sort() {
        std::vector<uint32_t> words(num_elements * 2);
        for(uint32_t i = 0; i < num_elements; i++) words[i] = (i * 2654435761u) >> 20;
        PrefixScan prefix;
        RadixSort radix;
        BufferPtr buffer(device->createBuffer(buffer_flags, words.data(), words.size() * 4));
        const std::vector<uint32_t> records = {0, num_elements, num_elements, 0};
        BufferPtr record(device->createBuffer(Buffer::FlagStorage, records.data(), records.size() * 4));
        if(!buffer || !record ||
           !radix.create(device.get(), RadixSort::FlagSingle | RadixSort::FlagIndirect | RadixSort::FlagOrder, &prefix,
                         20000, 64))
            return false;
        ComputePtr compute(device->createCompute());
        if(!radix.dispatchIndirect(compute.get(), buffer.get(), record.get(), 0, RadixSort::FlagOrder, 12))
            return false;
        std::vector<uint32_t> sorted(words.size());
        if(!device->getBuffer(buffer.get(), 0, sorted.data(), sorted.size() * 4)) return false;
        std::vector<uint32_t> order(num_elements);
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return words[a] < words[b]; });
        uint32_t num_wrong = 0;
        for(uint32_t i = 0; i < num_elements; i++)
            num_wrong += (sorted[i] != words[order[i]] || sorted[num_elements + i] != order[i]);
        EXPECT_EQ(num_wrong, 0u);
        return true;
    }
};

} // namespace

// The device is a new one each time: with the memory of an older one little could fail.
TEST_F(FailureParallelTest, out_of_memory) {
    for(const bool is_sort : {false, true}) {
        SCOPED_TRACE(is_sort ? "sort" : "scan");
        const auto run = [&] { return is_sort ? sort() : scan(); };
        std::vector<std::string> functions; // that failed
        failEach(true, run, [&](const char *failed) {
            if(std::find(functions.begin(), functions.end(), failed) != functions.end()) return true;
            functions.push_back(failed);
            return run();
        });
    }
}
