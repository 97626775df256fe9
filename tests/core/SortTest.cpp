// The sort against that of the standard library, and its exchanges against the partition written down plainly.

#include "KolmSort.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "ChildProcess.h"

using namespace Kolm;

namespace {

// The partition as it is defined, with recursion: which places are exchanged does not depend on the order of the parts.
template<class Less, class Exchange>
void reference_sort(int64_t lo, int64_t hi, const Less &less, const Exchange &exchange) {
    if(lo >= hi) return;
    int64_t i = lo, j = hi, pivot = (lo + hi) >> 1;
    const auto swap_places = [&](int64_t a, int64_t b) {
        exchange(a, b);
        pivot = (pivot == a) ? b : (pivot == b) ? a : pivot; // the pivot is a value: follow it
    };
    do {
        while(less(pivot, j)) j--;
        while(less(i, pivot)) i++;
        if(i < j) {
            swap_places(i++, j--);
        } else if(i == j) {
            i++;
            j--;
            break;
        }
    } while(i <= j && i != j + 1);
    reference_sort(lo, j, less, exchange);
    reference_sort(i, hi, less, exchange);
}

const struct {
    const char *name;
    uint32_t (*value)(uint32_t i, uint32_t size, std::mt19937 &random);
} orders[] = {
    {"random", [](uint32_t, uint32_t, std::mt19937 &random) { return uint32_t(random()); }},
    {"few values", [](uint32_t, uint32_t, std::mt19937 &random) { return uint32_t(random() % 3); }},
    {"one in ten", [](uint32_t, uint32_t, std::mt19937 &random) { return uint32_t(random() % 10 == 0); }},
    {"all equal", [](uint32_t, uint32_t, std::mt19937 &) { return 5u; }},
    {"ascending", [](uint32_t i, uint32_t, std::mt19937 &) { return i; }},
    {"ascending in steps", [](uint32_t i, uint32_t, std::mt19937 &) { return i / 5; }},
    {"descending", [](uint32_t i, uint32_t size, std::mt19937 &) { return size - i; }},
    {"organ pipe", [](uint32_t i, uint32_t size, std::mt19937 &) { return std::min(i, size - i); }},
    {"ascending but one", [](uint32_t i, uint32_t size, std::mt19937 &) { return (i == size / 3) ? 0 : i; }},
};
const uint32_t sizes[] = {0, 1, 2, 3, 4, 5, 8, 9, 17, 61, 62, 63, 64, 65, 100, 126, 127, 128, 129, 200, 1000, 20000};

template<class Key> class SortTest : public testing::Test {};
using SortKeys = testing::Types<uint32_t, int32_t, float, uint64_t, int16_t, double, std::string>;
TYPED_TEST_SUITE(SortTest, SortKeys);

template<class Key> Key make_key(uint32_t value) {
    if constexpr(std::is_same_v<Key, std::string>)
        return std::to_string(value);
    else
        return Key(std::is_signed_v<Key> ? int64_t(value) - 1000 : int64_t(value) * 3);
}

} // namespace

// Values tell where each key came from: equal keys must end in the one order that the partition gives them.
TYPED_TEST(SortTest, exchanges_what_the_partition_says) {
    std::mt19937 random(3);
    for(const auto &order : orders) {
        for(const uint32_t size : sizes) {
            if(std::is_same_v<TypeParam, std::string> && size > 1000) continue;
            std::vector<TypeParam> keys(size);
            std::vector<uint32_t> values(size);
            for(uint32_t i = 0; i < size; i++) {
                keys[i] = make_key<TypeParam>(order.value(i, size, random));
                values[i] = i;
            }
            std::vector<TypeParam> expected = keys, plain = keys, sorted = keys;
            std::vector<uint32_t> expected_values = values;
            reference_sort(
                0, int64_t(size) - 1, [&](int64_t a, int64_t b) { return expected[a] < expected[b]; },
                [&](int64_t a, int64_t b) {
                    std::swap(expected[a], expected[b]);
                    std::swap(expected_values[a], expected_values[b]);
                });
            std::sort(sorted.begin(), sorted.end());
            ASSERT_EQ(expected, sorted);
            quickSort(keys.data(), values.data(), size);
            ASSERT_EQ(keys, sorted) << order.name << " " << size;
            ASSERT_EQ(values, expected_values) << order.name << " " << size;
            quickSort(plain.data(), size);
            ASSERT_EQ(plain, sorted) << order.name << " " << size;
        }
    }
}

TEST(QuickSort, takes_a_comparison_and_a_stride) {
    std::mt19937 random(4);
    for(const uint32_t size : sizes) {
        std::vector<uint32_t> keys(size), sorted;
        for(uint32_t &key : keys) key = random() % 500;
        sorted = keys;
        std::sort(sorted.begin(), sorted.end(), std::greater<uint32_t>());
        quickSort(keys.data(), size, [](uint32_t a, uint32_t b) { return a > b; });
        EXPECT_EQ(keys, sorted);

        // records of a key and two more words, which travel with it
        std::vector<uint32_t> records;
        for(uint32_t i = 0; i < size; i++) {
            const uint32_t key = random() % 500;
            records.insert(records.end(), {key, key * 7, ~key});
        }
        quickSort(records.data(), size, 12);
        for(uint32_t i = 0; i < size; i++) {
            const uint32_t key = records[i * 3];
            ASSERT_TRUE(i == 0 || records[i * 3 - 3] <= key);
            ASSERT_TRUE(records[i * 3 + 1] == key * 7 && records[i * 3 + 2] == ~key);
        }
    }
    uint32_t record[128] = {};
    EXPECT_ASSERTION(quickSort(record, 1, 512),
                     "stride >= sizeof(Type) && stride <= Sort::MaxStride && \"quickSort::unsupported stride\"");
    EXPECT_ASSERTION(quickSort(record, 1, 6), "stride % sizeof(Type) == 0 && \"quickSort(): unsupported stride\"");
}

// A comparison that is none must not lead out of the array or into a loop without end.
TEST(QuickSort, survives_comparisons_that_are_none) {
    std::mt19937 random(5);
    for(const uint32_t size : sizes) {
        for(int kind = 0; kind < 3; kind++) {
            std::vector<float> keys(size), texts(size);
            for(float &key : keys) key = (random() % 4) ? float(random() % 9) : NAN;
            const std::vector<float> before = keys;
            if(kind == 0) quickSort(keys.data(), size);
            if(kind == 1) quickSort(keys.data(), size, [](float a, float b) { return a <= b; });
            if(kind == 2) quickSort(keys.data(), size, [&random](float, float) { return random() % 2 == 0; });
            const auto sum = [](float a, float b) { return a + (b == b ? b : 1000.0f); };
            EXPECT_EQ(std::accumulate(keys.begin(), keys.end(), 0.0f, sum),
                      std::accumulate(before.begin(), before.end(), 0.0f, sum));
        }
    }
}
