// Containers against the standard ones, with random work.

#include "KolmArray.h"
#include "KolmAutoPtr.h"
#include "KolmBlockAllocator.h"
#include "KolmFunction.h"
#include "KolmHeapPool.h"
#include "KolmMap.h"
#include "KolmSet.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <vector>

using namespace Kolm;

// Counts live objects and owns a block, so that a lost or doubled element shows in the allocator.
struct Item {
    Item(int value = -1) : value(value), block(Allocator::allocate(8)) {}
    Item(const Item &item) : value(item.value), block(Allocator::allocate(8)) {}
    Item &operator=(const Item &item) {
        value = item.value;
        return *this;
    }
    ~Item() { Allocator::free(block, 8); }
    bool operator==(const Item &item) const { return value == item.value; }
    int value;
    void *block;
};

template<class Type> class ArrayModel : public testing::Test {};
using ArrayTypes = testing::Types<Array<int>, ArrayStack<int, 5>, Array<Item>, ArrayStack<Item, 5>>;
TYPED_TEST_SUITE(ArrayModel, ArrayTypes);

template<class ArrayType> static void check_equal(const ArrayType &array, const std::vector<int> &model) {
    ASSERT_EQ(array.size(), model.size());
    for(uint32_t i = 0; i < array.size(); i++) ASSERT_TRUE(array[i] == model[i]) << i;
    ASSERT_GE(array.capacity(), array.size());
}

TYPED_TEST(ArrayModel, follows_vector) {
    const size_t memory = Allocator::getMemory(), allocations = Allocator::getAllocations();
    {
        std::mt19937 random(1);
        TypeParam array, other;
        std::vector<int> model, other_model;
        for(int step = 0; step < 20000; step++) {
            const uint32_t size = uint32_t(model.size());
            const uint32_t pos = random() % (size + 1);
            const uint32_t count = (size == pos) ? 0 : random() % (size - pos + 1);
            const int value = int(random() % 1000);
            const uint32_t kind = random() % 16;
            SCOPED_TRACE(kind);
            switch(kind) {
            case 0:
            case 1:
            case 2: array.append(value), model.push_back(value); break;
            case 3:
                if(size == 0 || size > 200) break;
                array.append(array[pos % size]); // an element of its own, also when it grows
                model.push_back(int(model[pos % size]));
                break;
            case 4:
                if(count == 0 || size > 200) break;
                array.append(array.get() + pos, count);
                model.reserve(model.size() + count);
                model.insert(model.end(), model.begin() + pos, model.begin() + pos + count);
                break;
            case 5: array.insert(pos, value), model.insert(model.begin() + pos, value); break;
            case 6: {
                if(count == 0 || size > 200) break;
                std::vector<int> part(model.begin() + pos, model.begin() + pos + count);
                array.insert(pos / 2, array.get() + pos, count);
                model.insert(model.begin() + pos / 2, part.begin(), part.end());
                break;
            }
            case 7:
                if(pos == size) break;
                array.remove(pos, count);
                model.erase(model.begin() + pos, model.begin() + pos + count);
                break;
            case 8: {
                if(pos == size) break;
                array.removeFast(pos, count);
                const uint32_t tail = std::min(count, size - pos - count);
                for(uint32_t i = 0; i < tail; i++) model[pos + i] = model[size - tail + i];
                model.resize(size - count);
                break;
            }
            case 9: array.removeBack(count), model.resize(size - count); break;
            case 10: array.reverse(pos, count), std::reverse(model.begin() + pos, model.begin() + pos + count); break;
            case 11:
                array.resize(size + 3, std::decay_t<decltype(array[0])>(value)), model.resize(size + 3, value);
                break;
            case 12: array.swap(other), model.swap(other_model); break;
            case 13: other = array, other_model = model; break;
            case 14: {
                TypeParam moved(std::move(array));
                ASSERT_TRUE(array.empty());
                array = std::move(moved);
                break;
            }
            case 15: (value & 1) ? array.shrink() : array.reserve(pos * 2); break;
            }
            check_equal(array, model);
            check_equal(other, other_model);
            if(testing::Test::HasFatalFailure()) return;
            if(model.size() > 400) array.clear(), model.clear();
        }
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
    EXPECT_EQ(Allocator::getAllocations(), allocations);
}

TEST(Array, grows_by_half_of_what_was_asked_for) {
    Array<int> array;
    std::vector<uint32_t> capacities;
    for(int i = 0; i < 18; i++) {
        array.append(i);
        if(capacities.empty() || capacities.back() != array.capacity()) capacities.push_back(array.capacity());
    }
    EXPECT_EQ(capacities, (std::vector<uint32_t>{2, 5, 10, 17, 28}));
    Array<int> reserved;
    reserved.reserve(1000);
    EXPECT_EQ(reserved.capacity(), 1501u);
    ArrayStack<int, 4> stack;
    stack.release();
    EXPECT_EQ(stack.capacity(), 4u);
    for(int i = 0; i < 5; i++) stack.append(i);
    EXPECT_EQ(stack.capacity(), 8u);
}

TEST(Array, misuse_ends_the_process) {
    Array<int> array{1, 2, 3};
    EXPECT_DEATH(array[3] = 1, "Array::operator\\[\\]\\(\\): invalid index");
    EXPECT_DEATH(array.back(3) = 1, "Array::back\\(\\): invalid index");
    EXPECT_DEATH(array.remove(3, 0), "Array::remove\\(\\): invalid position");
    EXPECT_DEATH(array.removeFast(1, 3), "Array::removeFast\\(\\): invalid length");
    EXPECT_DEATH(array.removeBack(4), "Array::removeBack\\(\\): invalid length");
    EXPECT_DEATH(array.insert(4, 0), "Array::insert\\(\\): invalid position");
    EXPECT_DEATH(array.init(nullptr, 1, 2), "Array::init\\(\\): invalid length");
}

TEST(Allocator, guards_its_blocks) {
    const size_t memory = Allocator::getMemory();
    EXPECT_EQ(Allocator::allocate(0), nullptr);
    EXPECT_EQ(Allocator::allocate(SIZE_MAX - 8), nullptr);
    EXPECT_EQ(Allocator::allocate<uint64_t>(SIZE_MAX / 4), nullptr);
    Allocator::free(nullptr, 0);
    char *ptr = static_cast<char *>(Allocator::allocate(32));
    EXPECT_EQ(uintptr_t(ptr) % 16, 0u);
    memset(ptr, 7, 32);
    ptr = static_cast<char *>(Allocator::reallocate(ptr, 32, 5000));
    EXPECT_EQ(ptr[31], 7);
    EXPECT_EQ(Allocator::getMemory(), memory + 5000);
    Allocator::free(ptr, 5000);
    EXPECT_EQ(Allocator::getMemory(), memory);
}

#if !defined(__SANITIZE_ADDRESS__)
TEST(Allocator, damage_ends_the_process) {
    char *ptr = static_cast<char *>(Allocator::allocate(32));
    memset(ptr, 0, 32);
    int *array = Allocator::allocate<int>(8);
    EXPECT_DEATH((ptr[32] = 0, Allocator::free(ptr, 32)), "Allocator::free\\(\\): memory corruption");
    EXPECT_DEATH(Allocator::free(ptr, 31), "Allocator::free\\(\\): memory corruption");
    EXPECT_DEATH(Allocator::free(array, 32), "Allocator::free\\(\\): invalid pointer");
    EXPECT_DEATH(Allocator::freeArray(ptr, 32), "ptr\\[-1\\] == TypeArray");
    EXPECT_DEATH(Allocator::reallocate(ptr, 31, 64), "Allocator::reallocate\\(\\): memory corruption");
    Allocator::freeArray(array, 8);
    Allocator::free(ptr, 32);
}
#endif

TEST(BlockAllocator, gives_separate_zeroed_runs) {
    const size_t memory = Allocator::getMemory();
    {
        BlockAllocator<std::pair<int, int>> blocks(16);
        std::vector<std::pair<int, int> *> runs;
        for(uint32_t i = 0; i < 100; i++) {
            auto *run = blocks.allocate(1 + i % 40);
            for(uint32_t j = 0; j < 1 + i % 40; j++) run[j] = {int(i), int(j)};
            runs.push_back(run);
        }
        for(uint32_t i = 0; i < 100; i++) {
            for(uint32_t j = 0; j < 1 + i % 40; j++) ASSERT_EQ(runs[i][j], std::make_pair(int(i), int(j)));
        }
        EXPECT_EQ(blocks.allocate(SIZE_MAX / 2 + 2), nullptr);
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(AutoPtr, copies_take_over) {
    Array<AutoPtr<Item>> items;
    for(int i = 0; i < 20; i++) items.append(AutoPtr<Item>(new Item(i)));
    items.remove(0, 5);
    ASSERT_EQ(items.size(), 15u);
    for(uint32_t i = 0; i < items.size(); i++) EXPECT_EQ(items[i]->value, int(i) + 5);
    AutoPtr<Item> first = items[0];
    EXPECT_TRUE(items[0].empty());
    delete first.release();
    EXPECT_FALSE(first);
}

static int add(int a, int b) { return a + b; }
static int add_three(int a, int b, int c) { return a + b * c; }
struct Counter {
    int sum(int a, int b) { return total += a + b; }
    int scaled(int a, int b, int c) { return (a + b) * c; }
    int total = 0;
};

TEST(Function, calls_every_kind_of_callable) {
    Counter counter;
    Function<int(int, int)> empty, plain(add), bound(add_three, 10), member(&counter, &Counter::sum),
        member_bound(&counter, &Counter::scaled, 5);
    int calls = 0;
    Function<int(int, int)> state([calls](int a, int b) mutable { return a + b + ++calls; });
    EXPECT_FALSE(empty);
    EXPECT_EQ(plain(1, 2), 3);
    EXPECT_EQ(bound(1, 2), 21);
    EXPECT_EQ(member(1, 2), 3);
    EXPECT_EQ(counter.total, 3);
    EXPECT_EQ(member_bound(1, 2), 15);
    Function<int(int, int)> copy = state;
    EXPECT_EQ(state(0, 0), 1);
    EXPECT_EQ(state(0, 0), 2);
    EXPECT_EQ(copy(0, 0), 1); // each copy owns its state
    EXPECT_TRUE(plain == (Function<int(int, int)>(add)));
    EXPECT_TRUE(plain != member);
    state = std::move(bound);
    EXPECT_EQ(state(1, 2), 21);
    state.clear();
    EXPECT_FALSE(state);
    AutoPtr<Item> item(new Item(3));
    Function<void(AutoPtr<Item>)> taker([](AutoPtr<Item> arg) { EXPECT_EQ(arg->value, 3); });
    taker(item);
    EXPECT_TRUE(item.empty());
}

TEST(Tree, follows_std_map) {
    const size_t memory = Allocator::getMemory();
    {
        std::mt19937 random(2);
        Map<uint32_t, uint32_t> map;
        std::map<uint32_t, uint32_t> model;
        for(uint32_t step = 0; step < 300000; step++) {
            const uint32_t key = random() % 20000;
            if(random() % 5 < 3) {
                map.append(key, step);
                model[key] = step;
            } else {
                ASSERT_EQ(map.remove(key), model.erase(key) != 0);
            }
            ASSERT_EQ(map.size(), model.size());
        }
        EXPECT_LE(map.depth(), uint32_t(2 * log2(double(map.size()))) + 2);
        Map<uint32_t, uint32_t> copy = map;
        auto it = copy.begin();
        for(const auto &row : model) {
            ASSERT_EQ(it->key, row.first);
            ASSERT_EQ(it->data, row.second);
            ++it;
        }
        EXPECT_FALSE(it);
        for(uint32_t key = 0; key < 20000; key += 7) {
            auto from = map.findFrom(key);
            auto expected = model.lower_bound(key);
            ASSERT_EQ(bool(from), expected != model.end());
            ASSERT_TRUE(!from || from->key == expected->first);
        }
        // Removing under one iterator leaves the others valid.
        for(auto a = copy.begin(); a;) {
            auto b = a++;
            if(b->key & 1) copy.remove(b);
        }
        for(const auto &row : copy) ASSERT_EQ(row.key & 1, 0u);
        while(copy) copy.remove(copy.back());
        EXPECT_TRUE(copy.begin() == copy.end());
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(Tree, ascending_keys_stay_shallow) {
    Set<uint32_t> set;
    for(uint32_t i = 0; i < 200000; i++) set.append(i);
    EXPECT_LE(set.depth(), 27u);
    EXPECT_EQ(*set.back(), 199999u);
}

TEST(Map, absent_key_ends_the_process) {
    Map<int, int> map;
    map.append(1, 1);
    map.append(1, 2);
    EXPECT_EQ(map.size(), 1u);
    EXPECT_EQ(map[1], 2);
    EXPECT_DEATH(map[2] = 0, "Map::operator\\[\\]\\(\\): invalid key");
}

TEST(HeapPool, gives_best_fits) {
    HeapPool<8> pool;
    pool.init(256);
    EXPECT_EQ(pool.allocate(16, 10), 0u);
    EXPECT_EQ(pool.allocate(16, 10), 16u);
    EXPECT_EQ(pool.allocate(1, 6), 10u);
    EXPECT_EQ(pool.allocate(1, 220), 26u);
    EXPECT_EQ(pool.allocate(1, 3), 246u);
    EXPECT_EQ(pool.getMemory(), 249u);
    EXPECT_EQ(pool.allocate(1, 8), pool.InvalidOffset);
    EXPECT_EQ(pool.allocate(1, 0), pool.InvalidOffset);
    pool.free(pool.InvalidOffset);
    for(uint32_t offset : {16u, 246u, 0u, 26u, 10u}) pool.free(offset);
    EXPECT_EQ(pool.getBlocks(), 1u);
}

TEST(HeapPool, random_work_never_overlaps_and_comes_back_whole) {
    std::mt19937 random(4);
    for(uint32_t run = 0; run < 500; run++) {
        HeapPool<8> pool;
        uint32_t size = 500 + random() % 2000;
        pool.init(size);
        std::map<uint32_t, uint32_t> used;
        for(uint32_t step = 0; step < 300; step++) {
            if(random() % 2) {
                const uint32_t alignment = (random() % 2) ? 1u << random() % 6 : 1 + random() % 20;
                const uint32_t length = 1 + random() % 200;
                const uint32_t offset = pool.allocate(alignment, length);
                if(offset == pool.InvalidOffset) continue;
                ASSERT_EQ(offset % alignment, 0u);
                ASSERT_LE(offset + length, size);
                auto next = used.lower_bound(offset);
                ASSERT_TRUE(next == used.end() || offset + length <= next->first);
                ASSERT_TRUE(next == used.begin() || std::prev(next)->first + std::prev(next)->second <= offset);
                used[offset] = length;
            } else if(!used.empty()) {
                auto it = std::next(used.begin(), random() % used.size());
                pool.free(it->first);
                used.erase(it);
            } else {
                ASSERT_TRUE(pool.append(40));
                size += 40;
            }
        }
        for(const auto &row : used) pool.free(row.first);
        ASSERT_EQ(pool.getBlocks(), 1u) << run;
        ASSERT_EQ(pool.getMemory(), 0u);
        ASSERT_EQ(pool.allocate(1, size), 0u);
    }
}
