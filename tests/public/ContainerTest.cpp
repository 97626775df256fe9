// The public containers against those of the standard library, by random operations; functions, owned pointers and the
// allocator's guards.

#include <algorithm>
#include <core/OstrevanArray.h>
#include <core/OstrevanAtomicArray.h>
#include <core/OstrevanAutoPtr.h>
#include <core/OstrevanBlob.h>
#include <core/OstrevanFunction.h>
#include <core/OstrevanMap.h>
#include <core/OstrevanSet.h>
#include <core/OstrevanSort.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"

using namespace Ostrevan;

namespace {

template<class Type> bool same(const Array<Type> &array, const std::vector<Type> &vector) {
    return array.size() == vector.size() && std::equal(vector.begin(), vector.end(), array.get());
}

// Element that counts its live objects, so that a slot which is not destroyed shows.
struct Counted {
    Counted(int value = 0) : value(value) { live++; }
    Counted(const Counted &other) : value(other.value) { live++; }
    Counted &operator=(const Counted &) = default;
    ~Counted() { live--; }
    bool operator==(const Counted &other) const { return value == other.value; }
    int value;
    static int live;
};
int Counted::live = 0;

template<class Type, class Target> void check_array(uint32_t seed) {
    std::mt19937 random(seed);
    Target array;
    std::vector<Type> vector;
    for(int i = 0; i < 3000; i++) {
        const uint32_t size = array.size();
        const uint32_t pos = size ? random() % size : 0;
        const Type value(int(random() % 1000));
        switch(random() % 10) {
        case 0:
        case 1:
            array.append(value);
            vector.push_back(value);
            break;
        case 2:
            if(size) array.append(array[pos]), vector.push_back(Type(vector[pos]));
            break;
        case 3:
            array.insert(pos, value);
            vector.insert(vector.begin() + pos, value);
            break;
        case 4:
            if(size) {
                const uint32_t len = random() % (size - pos) + 1;
                array.remove(pos, len);
                vector.erase(vector.begin() + pos, vector.begin() + pos + len);
            }
            break;
        case 5: {
            const uint32_t num = random() % 30;
            const uint32_t from = std::min(pos, size - std::min(size, num));
            const std::vector<Type> part(vector.begin() + from, vector.begin() + std::min(from + num, size));
            array.append(array.get() + from, uint32_t(part.size()));
            vector.insert(vector.end(), part.begin(), part.end());
            break;
        }
        case 6:
            array.reverse(pos, size - pos);
            std::reverse(vector.begin() + pos, vector.end());
            break;
        case 7:
            if(random() % 20 == 0) array.release(), vector.clear();
            break;
        case 8: {
            Target other(array);
            array.clear();
            array = std::move(other);
            break;
        }
        case 9:
            if(random() % 10 == 0) {
                array.resize(size / 2);
                vector.resize(size / 2);
                array.shrink();
            }
            break;
        }
        ASSERT_TRUE(same<Type>(array, vector)) << i;
    }
}

} // namespace

TEST(PublicArray, agrees_with_a_vector) {
    const size_t memory = Allocator::getMemory();
    check_array<int, Array<int>>(1);
    check_array<Counted, Array<Counted>>(2);
    check_array<Counted, ArrayStack<Counted, 8>>(3);
    EXPECT_EQ(Counted::live, 0);
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(PublicArray, grows_by_half_of_what_was_asked_for) {
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
    ArrayStack<int, 4> stack = {1, 2, 3, 4};
    EXPECT_EQ(stack.capacity(), 4u);
    stack.append(5);
    EXPECT_EQ(stack.capacity(), 8u);
    EXPECT_ASSERTION(array[18], "index < impl.length && \"Array::operator[](): invalid index\"");
    EXPECT_ASSERTION(array.remove(18, 0), "pos < impl.length && \"Array::remove(): invalid position\"");
}

TEST(PublicArray, holds_handles) {
    Array<Blob> blobs;
    Blob blob("blob");
    for(int i = 0; i < 5; i++) blobs.append(blob);
    EXPECT_EQ(blob.getCountPtr(), 12u);
    EXPECT_TRUE(blobs.back() == blob);
    blobs.release();
    EXPECT_EQ(blob.getCountPtr(), 2u);
}

TEST(PublicMap, agrees_with_an_ordered_map) {
    std::mt19937 random(4);
    Map<uint32_t, std::string> map;
    std::map<uint32_t, std::string> model;
    Set<int> set;
    std::set<int> set_model;
    for(int i = 0; i < 20000; i++) {
        const uint32_t key = random() % 700;
        if(random() % 5 < 3) {
            map.append(key, std::to_string(i));
            model[key] = std::to_string(i);
            set.append(int(key));
            set_model.insert(int(key));
        } else {
            ASSERT_EQ(map.remove(key), model.erase(key) == 1);
            ASSERT_EQ(set.remove(int(key)), set_model.erase(int(key)) == 1);
        }
        const std::string *data = map.get(key);
        ASSERT_EQ(data != nullptr, model.count(key) == 1);
        if(data) {
            ASSERT_EQ(*data, model[key]);
        }
    }
    auto it = model.begin();
    for(auto &data : map) {
        ASSERT_EQ(data.key, it->first);
        ASSERT_EQ(data.data, (it++)->second);
    }
    EXPECT_TRUE(it == model.end() && set.size() == set_model.size());
    EXPECT_ASSERTION(map[5000u], "data && \"Map::operator[](): invalid key\"");
}

struct Adder {
    int add(int a, int b) { return base + a + b; }
    int get() const { return base; }
    int base;
};
static int sum(int a, int b, int c, int d, int e, int f, int g, int h) { return a + b + c + d + e + f + g + h; }

TEST(PublicFunction, stands_for_any_callable) {
    const size_t memory = Allocator::getMemory();
    {
        Function<int(int)> func;
        EXPECT_TRUE(!func && func.empty());
        Adder adder = {100};
        func = Function<int(int)>(&adder, &Adder::add, 20);
        EXPECT_EQ(func(3), 123);
        EXPECT_EQ(Function<int()>(&adder, &Adder::get)(), 100);
        EXPECT_EQ((Function<int(int, int)>(sum, 3, 4, 5, 6, 7, 8)(1, 2)), 36);
        int calls = 0;
        func = [calls](int num) mutable { return calls += num; };
        Function<int(int)> copy = func;
        EXPECT_EQ(func(1) + func(1), 3);
        EXPECT_EQ(copy(5), 5); // a state of its own
        Function<int(int)> moved = std::move(func);
        EXPECT_EQ(moved.run(1), 3);
        EXPECT_TRUE(func.empty());
        EXPECT_ASSERTION(func(1), "invoke && \"Function::run(): function is empty\"");
        moved.clear();
        EXPECT_FALSE(moved);
        EXPECT_TRUE(Function<int(int)>(Function<int(short)>()).empty());
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(PublicAutoPtr, copies_take_over) {
    struct Flag {
        explicit Flag(bool &flag) : flag(flag) {}
        ~Flag() { flag = true; }
        bool &flag;
    };
    bool deleted = false;
    {
        AutoPtr<Flag> a(new Flag(deleted));
        AutoPtr<Flag> b = a;
        EXPECT_TRUE(!a && b && !deleted);
        a = b;
        EXPECT_TRUE(a && !b);
    }
    EXPECT_TRUE(deleted);
}

TEST(PublicAllocator, guards_its_blocks) {
    const size_t memory = Allocator::getMemory();
    const size_t allocations = Allocator::getAllocations();
    EXPECT_EQ(Allocator::allocate(0), nullptr);
    EXPECT_EQ(Allocator::reallocate(nullptr, 0, 10), nullptr);
    Allocator::free(nullptr, 10);
    char *ptr = static_cast<char *>(Allocator::allocate("0123456789", 10));
    EXPECT_EQ(Allocator::getMemory(), memory + 10);
    EXPECT_EQ(Allocator::getAllocations(), allocations + 1);
    ptr = static_cast<char *>(Allocator::reallocate(ptr, 10, 1000));
    EXPECT_EQ(memcmp(ptr, "0123456789", 10), 0);
    EXPECT_EQ(uintptr_t(ptr) % 16, 0u);
    const std::string corruption = "ptr[size] == TypeRaw && \"Allocator::free(): memory corruption\"";
    EXPECT_ASSERTION((ptr[1000] = 0, Allocator::free(ptr, 1000)), corruption);
    EXPECT_ASSERTION(Allocator::free(ptr, 999), corruption);
    EXPECT_ASSERTION(Allocator::freeArray(ptr, 1000),
                     "ptr[-1] == TypeArray && \"Allocator::freeArray(): invalid pointer\"");
    Allocator::free(ptr, 1000);
    std::string *strings = Allocator::allocate<std::string>(3);
    strings[2] = "a text that is too long for the inside of a string";
    Allocator::freeArray(strings, 3);
    EXPECT_EQ(Allocator::getMemory(), memory);
    EXPECT_EQ(Allocator::getAllocations(), allocations);
}

TEST(PublicAtomic, locks_and_counts) {
    Atomici32 atomic;
    SpinLock lock;
    int plain = 0;
    std::thread threads[4];
    for(std::thread &thread : threads) {
        thread = std::thread([&] {
            for(int i = 0; i < 10000; i++) {
                ++atomic;
                AtomicLock scope(lock);
                plain++;
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_EQ(int32_t(atomic), 40000);
    EXPECT_EQ(plain, 40000);
    EXPECT_FALSE(lock);
    EXPECT_TRUE(atomic.cas(40000, 1) && !atomic.cas(40000, 2));
    int items[8];
    AtomicPtr<int> ptr(items);
    EXPECT_TRUE(ptr++ == items && ++ptr == items + 2 && (ptr += 5) == items + 7 && (ptr -= 6) == items + 1);
    EXPECT_TRUE((ptr |= 1) != items + 1 && (ptr &= ~uintptr_t(1)) == items + 1 && --ptr == items);
}

TEST(PublicAtomic, arrays_tell_their_length_to_all_threads) {
    AtomicArray<std::string> array;
    SpinLock lock;
    std::thread threads[4];
    for(int n = 0; n < 4; n++) {
        threads[n] = std::thread([&, n] {
            for(int i = 0; i < 1000; i++) {
                AtomicLock scope(lock);
                array.append("a text that lies on the heap " + std::to_string(n));
            }
        });
    }
    for(uint32_t size = 0, next; size < 4000; size = next) {
        next = array.size(); // without the lock
        ASSERT_GE(next, size);
    }
    for(std::thread &thread : threads) thread.join();
    uint32_t counts[4] = {};
    for(uint32_t i = 0; i < array.size(); i++) counts[array[i].back() - '0']++;
    for(const uint32_t count : counts) EXPECT_EQ(count, 1000u);
    array.remove(0, 3999);
    EXPECT_ASSERTION(array[1], "index < (uint32_t)length && \"AtomicArray::operator[](): invalid index\"");
}

TEST(PublicSort, sorts_numbers_texts_and_records) {
    std::mt19937 random(5);
    for(const uint32_t size : {0u, 1u, 2u, 50u, 3000u}) {
        std::vector<uint32_t> keys(size), records;
        std::vector<std::string> texts(size);
        for(uint32_t i = 0; i < size; i++) {
            keys[i] = random() % 1000;
            texts[i] = std::to_string(keys[i]);
            records.insert(records.end(), {keys[i], ~keys[i]});
        }
        std::vector<uint32_t> sorted = keys;
        quickSort(keys.data(), texts.data(), size);
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(keys, sorted);
        for(uint32_t i = 0; i < size; i++) ASSERT_EQ(texts[i], std::to_string(keys[i]));
        quickSort(records.data(), size, 8);
        for(uint32_t i = 0; i < size; i++) ASSERT_TRUE(records[i * 2] == sorted[i] && records[i * 2 + 1] == ~sorted[i]);
        quickSort(texts.data(), size);
        EXPECT_TRUE(std::is_sorted(texts.begin(), texts.end()));
    }
}
