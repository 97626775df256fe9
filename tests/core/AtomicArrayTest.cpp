#include "KolmAtomicArray.h"

#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "KolmString.h"

using namespace Kolm;

TEST(AtomicArray, holds_what_is_put_in) {
    const size_t memory = Allocator::getMemory();
    {
        AtomicArray<String> a;
        EXPECT_TRUE(a.empty());
        for(uint32_t i = 0; i < 100; i++) a.append(String::fromu32(i));
        a.append(a[3]); // lies in the array itself
        EXPECT_EQ(a.size(), 101u);
        EXPECT_EQ(a[100], "3");
        a.remove(1, 2); // 0 3 4 ... 99 3
        EXPECT_EQ(a[1], "3");
        EXPECT_EQ(a.size(), 99u);
        a.removeFast(0, 2); // 99 3 4 5 ...
        EXPECT_EQ(a.size(), 97u);
        EXPECT_EQ(a[0], "99");
        EXPECT_EQ(a[1], "3");
        EXPECT_EQ(a.get(2), "4");
        AtomicArray<String> b(a), c;
        a.resize(2);
        a.swap(b);
        EXPECT_EQ(a.size(), 97u);
        EXPECT_EQ(b.size(), 2u);
        EXPECT_EQ(b.get()[0], "99");
        c = b;
        b.clear();
        EXPECT_TRUE(b.empty() && c.size() == 2);
        b.release();
        // Slots of the caller, until they are too few.
        String slots[2];
        c.init(slots, 2);
        c.append("x");
        c.append("y");
        EXPECT_EQ(c.get(), slots);
        c.append("z");
        EXPECT_NE(c.get(), slots);
        EXPECT_TRUE(c[0] == "x" && c[2] == "z");
        c.init(slots, 2);
        c.append("w");
        c.swap(a);
        EXPECT_TRUE(c.size() == 97 && a.size() == 1 && a[0] == "w");
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(AtomicArray, checks_what_it_is_asked_for) {
    AtomicArray<int> a;
    a.resize(3);
    EXPECT_ASSERTION(a[3], "index < (uint32_t)length && \"AtomicArray::operator[](): invalid index\"");
    EXPECT_ASSERTION(a.get(3), "index < (uint32_t)length && \"AtomicArray::get(): invalid index\"");
    EXPECT_ASSERTION(a.remove(3, 0), "pos < (uint32_t)length && \"AtomicArray::remove(): invalid position\"");
    EXPECT_ASSERTION(a.remove(1, 3), "len <= (uint32_t)length - pos && \"AtomicArray::remove(): invalid length\"");
    EXPECT_ASSERTION(a.removeFast(3), "pos < (uint32_t)length && \"AtomicArray::removeFast(): invalid position\"");
    EXPECT_ASSERTION(a.removeFast(0, 4),
                     "len <= (uint32_t)length - pos && \"AtomicArray::removeFast(): invalid length\"");
}
