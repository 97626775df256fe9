// The behaviour that all handle classes share, over every row of the class list: states, copies, moves and, where a
// class can make its object by itself, the life of one.

#include <Ostrevan.h>
#include <gtest/gtest.h>

#include "ChildProcess.h"

using namespace Ostrevan;

namespace {

constexpr bool Copyable = true, Noncopyable = false;
constexpr bool Handle = false, Leaf = true;

#define OSTREVAN_CLASS(MODULE, NAME, BASE, KIND, COPIES)      \
    struct NAME##Row {                                        \
        using Type = NAME;                                    \
        using Base = BASE;                                    \
        static constexpr const char *name = #NAME;            \
        static constexpr bool leaf = KIND, copyable = COPIES; \
    };
#include <base/OstrevanClasses.inc>

template<class First, class... Rest> struct Rows { using Types = testing::Types<Rest...>; };
using AllRows = Rows<void
#define OSTREVAN_CLASS(MODULE, NAME, ...) , NAME##Row
#include <base/OstrevanClasses.inc>
                     >::Types;

template<class Base> uint32_t get_levels();
#define OSTREVAN_CLASS(MODULE, NAME, BASE, ...) \
    template<> uint32_t get_levels<NAME>() { return 1 + get_levels<BASE>(); }
template<> uint32_t get_levels<void>() { return 0; }
#include <base/OstrevanClasses.inc>

struct RowName {
    template<class Row> static std::string GetName(int) { return Row::name; }
};

} // namespace

template<class Row> class HandleTest : public testing::Test {
protected:
    using Type = typename Row::Type;

    static void expect_empty(const Type &handle, bool creatable) {
        EXPECT_FALSE(handle);
        EXPECT_EQ(handle.isValidPtr(), creatable);
        EXPECT_FALSE(handle.isOwnerPtr());
        EXPECT_FALSE(handle.isConstPtr());
        EXPECT_EQ(handle.getCountPtr(), 0u);
        EXPECT_EQ(handle.getInternalPtr(), nullptr);
    }
    static void expect_object(const Type &handle, uint32_t count) {
        EXPECT_TRUE(handle && handle.isValidPtr() && handle.isOwnerPtr());
        EXPECT_FALSE(handle.isConstPtr());
        EXPECT_EQ(handle.getCountPtr(), count);
        EXPECT_NE(handle.getInternalPtr(), nullptr);
    }
};
TYPED_TEST_SUITE(HandleTest, AllRows, RowName);

TYPED_TEST(HandleTest, has_the_shape_of_its_kind) {
    using Type = typename TypeParam::Type;
    using Base = typename TypeParam::Base;
    const size_t words = 4 * get_levels<Type>() + (TypeParam::leaf ? 0 : 1);
    EXPECT_EQ(sizeof(Type), words * sizeof(void *));
    EXPECT_EQ(std::is_polymorphic_v<Type>, !TypeParam::leaf);
    EXPECT_EQ((std::is_base_of_v<Base, Type>), !std::is_void_v<Base>);
    EXPECT_STREQ(Type::getClassNamePtr(), TypeParam::name);
    const Type handle{VoidImpl()};
    EXPECT_STREQ(handle.getClassName(), TypeParam::name);
}

TYPED_TEST(HandleTest, empty_handles_stay_empty) {
    using Type = typename TypeParam::Type;
    Type handle{VoidImpl()};
    this->expect_empty(handle, true);
    this->expect_empty(Type::null, true);
    const Type copy = Type::null;
    this->expect_empty(copy, true);
    Type moved = std::move(handle);
    this->expect_empty(moved, true);
    EXPECT_TRUE(moved == copy && moved <= copy && moved >= copy);
    EXPECT_FALSE(moved != copy || moved < copy || moved > copy);
    moved.clearPtr();
    moved.destroyPtr();
    moved.acquirePtr().unacquirePtr();
    this->expect_empty(moved, true);
}

TYPED_TEST(HandleTest, objects_live_as_long_as_their_handles) {
    using Type = typename TypeParam::Type;
    if constexpr(!TypeParam::copyable) {
        const Type handle{VoidImpl()};
        const std::string name = TypeParam::name;
        EXPECT_ASSERTION(handle.clonePtr(),
                         "0 && \"" + name + "\" \"::\" \"" + name + "\" \"::clonePtr(): can't clone noncopy class\"");
    } else {
        const uint32_t levels = get_levels<Type>();
        const size_t memory = Allocator::getMemory();
        {
            Type a{VoidImpl()};
            Type b = a.clonePtr(); // makes the object of an empty handle
            this->expect_object(a, levels);
            this->expect_object(b, levels);
            EXPECT_TRUE(a != b && (a < b) == (b > a) && (a <= b) != (b <= a));
            Type c = a;
            this->expect_object(c, levels * 2);
            b = c;
            this->expect_object(b, levels * 3);
            EXPECT_TRUE(a == b && b == c);
            c.clearPtr();
            this->expect_empty(c, true);
            this->expect_object(a, levels * 2);
            c = std::move(b);
            this->expect_empty(b, false);
            this->expect_object(c, levels * 2);
            b = Type(VoidImpl());
            b = a;
            b.unacquirePtr();
            EXPECT_FALSE(a.isOwnerPtr());
            a.acquirePtr();
            EXPECT_TRUE(b.isOwnerPtr());
            b = Type::null;
            EXPECT_FALSE(b);
            const void *ptr = a.getInternalPtr();
            b = a;
            a.destroyPtr();
            this->expect_empty(a, true);
            EXPECT_FALSE(b || c);
            EXPECT_EQ(b.getInternalPtr(), nullptr);
            EXPECT_NE(ptr, nullptr);
        }
        EXPECT_EQ(Allocator::getMemory(), memory);
    }
}

TYPED_TEST(HandleTest, moved_from_handles_make_nothing) {
    using Type = typename TypeParam::Type;
    if constexpr(TypeParam::copyable) {
        Type a{VoidImpl()};
        Type b = a.clonePtr();
        a = std::move(b);
        const std::string name = TypeParam::name;
        EXPECT_ASSERTION(b.clonePtr(), "0 && \"" + name + "\" \"Impl::ref(): is not constructed\"");
        EXPECT_ASSERTION(Type::null.clonePtr(), "0 && \"" + name + "\" \"Impl::ref(): is not constructed\"");
    }
}
