// The radix map against an ordered map of the standard library.

#include "KolmRadixMap.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>

#include "ChildProcess.h"

using namespace Kolm;

namespace {

template<class MapType, class Model> void check_equal(const MapType &map, const Model &model) {
    ASSERT_EQ(map.size(), model.size());
    ASSERT_EQ(map.empty(), model.empty());
    auto it = map.begin();
    for(const auto &row : model) {
        ASSERT_TRUE(it);
        ASSERT_EQ(it.getKey(), row.first);
        ASSERT_EQ(*it, row.second);
        ++it;
    }
    ASSERT_FALSE(it);
    auto back = map.back();
    for(auto row = model.rbegin(); row != model.rend(); ++row, --back) ASSERT_EQ(back.getKey(), row->first);
    ASSERT_TRUE(back == map.end());
}

// Keys of a kind that fills nodes in its own way.
struct KeyKind {
    const char *name;
    uint64_t (*get)(std::mt19937_64 &random);
};
const KeyKind kinds[] = {
    {"dense", [](std::mt19937_64 &random) { return uint64_t(random() % 700); }},
    {"random", [](std::mt19937_64 &random) { return uint64_t(random()); }},
    {"few bytes", [](std::mt19937_64 &random) { return uint64_t(random() & 0x0703070307030703ull); }},
    {"high byte", [](std::mt19937_64 &random) { return uint64_t(random() % 256 * 0x0101010101010101ull); }},
};

template<class Key, uint32_t Bits> void check_random_work() {
    for(const auto &kind : kinds) {
        std::mt19937_64 random(1);
        RadixMap<Key, std::string, Bits> map;
        std::map<Key, std::string> model;
        for(int i = 0; i < 20000; i++) {
            SCOPED_TRACE(kind.name);
            const Key key = Key(kind.get(random) & (~0ull >> (64 - Bits)));
            // grows for a while, then shrinks
            if(random() % 100 < (i % 10000 < 5000 ? 70u : 30u)) {
                const std::string value = std::to_string(i) + " and a text that needs memory";
                ASSERT_EQ(*map.append(key, value), value);
                model[key] = value;
            } else {
                ASSERT_EQ(map.remove(key), model.erase(key) == 1);
            }
            const std::string *found = map.get(key);
            ASSERT_EQ(found != nullptr, model.count(key) == 1);
            if(found) {
                ASSERT_EQ(*found, model[key]);
                ASSERT_EQ(map.find(key).getKey(), key);
            } else {
                ASSERT_FALSE(map.find(key));
            }
            if(i % 2500 == 0) check_equal(map, model);
        }
        check_equal(map, model);
        const RadixMap<Key, std::string, Bits> copy = map;
        RadixMap<Key, std::string, Bits> moved = std::move(map);
        EXPECT_TRUE(map.empty());
        check_equal(copy, model);
        check_equal(moved, model);
        while(moved) ASSERT_TRUE(moved.remove(moved.back()));
        EXPECT_EQ(moved.memory(), 0u);
    }
}

} // namespace

TEST(RadixMap, follows_an_ordered_map) {
    const size_t memory = Allocator::getMemory();
    check_random_work<uint32_t, 32>();
    check_random_work<uint64_t, 64>();
    check_random_work<uint16_t, 16>();
    check_random_work<uint32_t, 8>();
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(RadixMap, holds_all_short_keys) {
    RadixMap<uint32_t, uint32_t> map;
    std::map<uint32_t, uint32_t> model;
    for(uint32_t key = 0; key < 65536; key++) *map.append(key) = model[key] = ~key;
    check_equal(map, model);
    for(uint32_t key = 0; key < 65536; key += 257) {
        EXPECT_TRUE(map.remove(key));
        EXPECT_FALSE(map.remove(key));
        model.erase(key);
    }
    check_equal(map, model);
    EXPECT_EQ(map.begin().getKey(), 1u);
    EXPECT_EQ(map.back().getKey(), 65534u);
}

TEST(RadixMap, nodes_change_their_kind_by_what_they_hold) {
    RadixMap<uint32_t, uint32_t> map;
    const auto capacity = [&] { return map.begin().getNode()->capacity; };
    uint32_t expected[257] = {};
    for(uint32_t num = 1; num <= 256; num++) {
        uint32_t &slot = *map.append((num - 1) * 37 % 256);
        slot = num;
        expected[num] = (num < 4) ? 4 : (num < 16) ? 16 : (num < 64) ? 64 : 256;
        EXPECT_EQ(capacity(), expected[num]) << num;
        EXPECT_EQ(map.size(), num);
    }
    for(uint32_t num = 256; num-- > 1;) {
        EXPECT_TRUE(map.remove(num * 37 % 256));
        expected[num] = (num < 4) ? 4 : (num <= 15) ? 16 : (num <= 63) ? 64 : 256;
        EXPECT_EQ(capacity(), expected[num]) << num;
    }
    EXPECT_EQ(*map.begin(), 1u);
    // A node that is full but for one entry grows before it is known whether the key is new.
    map.append(1);
    map.append(2);
    EXPECT_EQ(capacity(), 4u);
    uint32_t *slot = map.get(2);
    *slot = 22;
    EXPECT_EQ(&*map.append(2), slot);
    EXPECT_EQ(capacity(), 16u);
    EXPECT_EQ(map.size(), 3u);
}

TEST(RadixMap, misuse_ends_the_process) {
    RadixMap<uint32_t, int> map;
    map.append(5, 1);
    auto it = map.begin();
    EXPECT_ASSERTION(it.getNode()->ref(1), "index < this->length && \"RadixMap::NodeN::ref(): invalid index\"");
    EXPECT_ASSERTION(it.getNode()->get(1), "index < this->length && \"RadixMap::NodeN::get(): invalid index\"");
    for(uint32_t key = 0; key < 40; key++) map.append(key, 1);
    EXPECT_ASSERTION(map.begin().getNode()->ref(40),
                     "index < 256 && keys[index] != Absent && \"RadixMap::Node64::ref(): invalid index\"");
    EXPECT_ASSERTION(map.begin().getNode()->get(40),
                     "index < 256 && keys[index] != Absent && \"RadixMap::Node64::get(): invalid index\"");
    for(uint32_t key = 0; key < 100; key++) map.append(key, 1);
    EXPECT_ASSERTION(map.begin().getNode()->ref(100),
                     "data[index & 255] && \"RadixMap::Node256::ref(): pointer is null\"");
    EXPECT_ASSERTION(*map.end(), "node && \"RadixMap::Iterator::operator*(): invalid iterator\"");
}
