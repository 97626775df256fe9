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

// What a maker needs lives as long as the maker.
struct Nothing {};
struct Objects {
    Context context{PlatformVK};
    Device device = context.create() ? Device(context) : Device();
    Surface surface{PlatformVK};
};

// Whether a device makes handles of this class, and how.
template<class Type> struct Factory { static constexpr bool exists = false; };
#define OSTREVAN_CLASS(MODULE, NAME, ...)                                                     \
    template<class Maker>                                                                     \
    concept Makes##NAME = requires(Maker maker) {                                             \
        maker.create##NAME();                                                                 \
    };                                                                                        \
    template<> struct Factory<NAME> {                                                         \
        static constexpr bool exists = Makes##NAME<Device>;                                   \
        template<class Maker> static auto make(Maker &maker) { return maker.create##NAME(); } \
    };
#include <base/OstrevanClasses.inc>

// Makes a handle with a real object: the object of an empty handle where clonePtr() does that, else by a device, or by
// narrowing what a device makes.
template<class Row> struct Maker {
    using Type = typename Row::Type;
    using Base = typename Row::Base;
    static constexpr bool is_made = Factory<Type>::exists;
    static constexpr bool is_narrowed = !is_made && Factory<Base>::exists;
    static_assert(Row::copyable || is_made || is_narrowed, "the class needs a row of OSTREVAN_MAKER");

    std::conditional_t<Row::copyable, Nothing, Objects> objects;
    std::conditional_t<is_narrowed, Base, Type> source{VoidImpl()};

    Type make() {
        if constexpr(Row::copyable) {
            Type handle{VoidImpl()};
            (void)handle.clonePtr();
            return handle;
        } else {
            source = Factory<decltype(source)>::make(objects.device);
            if constexpr(is_narrowed)
                return Type(source);
            else
                return std::move(source);
        }
    }
};
// Others have their own way.
#define OSTREVAN_MAKER(TYPE, OBJECTS, CODE) \
    template<> struct Maker<TYPE##Row> {    \
        [[maybe_unused]] OBJECTS objects;   \
        TYPE make() { CODE }                \
    };
OSTREVAN_MAKER(Stream, Nothing, return Blob("name");)
OSTREVAN_MAKER(Cache, Nothing, Cache cache; cache.getMaxSize(); return cache;)
OSTREVAN_MAKER(Async, Nothing, Async async; async.init(); return async;)
OSTREVAN_MAKER(Shader, Nothing, ShaderCompiler shader; shader.clear(); return shader;)
OSTREVAN_MAKER(ShaderCompiler, Nothing, ShaderCompiler shader; shader.clear(); return shader;)
OSTREVAN_MAKER(Context, Nothing, return Context(PlatformVK);)
OSTREVAN_MAKER(VKContext, Nothing, return VKContext(0);)
OSTREVAN_MAKER(Surface, Nothing, return Surface(PlatformVK);)
OSTREVAN_MAKER(VKSurface, Objects, return VKSurface(objects.surface);)
OSTREVAN_MAKER(Device, Objects, return Device(objects.context);)
OSTREVAN_MAKER(VKDevice, Objects, return VKDevice(objects.device);)
OSTREVAN_MAKER(PrefixScan, Nothing, PrefixScan scan; scan.clear(); return scan;)
OSTREVAN_MAKER(RadixSort, Nothing, RadixSort sort; sort.clear(); return sort;)
#undef OSTREVAN_MAKER

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
    using TypeMaker = Maker<TypeParam>;
    constexpr bool has_device = std::is_same_v<decltype(TypeMaker::objects), Objects>;
    const uint32_t levels = get_levels<Type>();
    const size_t memory = Allocator::getMemory();
    {
        TypeMaker maker;
        Type a = maker.make();
        // A backend that lacks the class says so in the log.
        if(has_device && !a) return this->expect_empty(a, true);
        const bool owner = a.isOwnerPtr(); // views of what another handle owns do not
        const auto expect_object = [&](const Type &handle, uint32_t count) {
            EXPECT_TRUE(handle && handle.isValidPtr());
            EXPECT_EQ(handle.isOwnerPtr(), owner);
            EXPECT_FALSE(handle.isConstPtr());
            EXPECT_EQ(handle.getCountPtr(), count);
            EXPECT_EQ(handle.getInternalPtr(), a.getInternalPtr());
        };
        expect_object(a, levels);
        {
            Type b = a;
            const Type c = b;
            const Type d = c;
            expect_object(d, levels * 4);
            EXPECT_TRUE(a == b && b == c && !(a != d) && a <= b && a >= b && !(a < b) && !(a > b));
            const Type &self = b;
            b = self;
            expect_object(b, levels * 4);
            b.clearPtr();
            this->expect_empty(b, true);
            EXPECT_NE(a, b);
            expect_object(a, levels * 3);
            b = c;
            b = a; // the same object
            expect_object(b, levels * 4);
        }
        expect_object(a, levels);
        Type b = std::move(a);
        this->expect_empty(a, false);
        a = b;
        expect_object(a, levels * 2);
        Type c = a;
        c = std::move(b);
        expect_object(c, levels * 3); // equal objects: the source stays
        b.clearPtr();
        b = std::move(c);
        this->expect_empty(c, false);
        expect_object(b, levels * 2);
        if(owner) {
            b.unacquirePtr();
            EXPECT_FALSE(a.isOwnerPtr());
            a.acquirePtr();
            EXPECT_TRUE(b.isOwnerPtr());
        }
        c = Type::null;
        EXPECT_FALSE(c || c.isValidPtr());
        c = a;
        a.destroyPtr();
        this->expect_empty(a, true);
        EXPECT_FALSE(b || c);
        EXPECT_EQ(b.getInternalPtr(), nullptr);
        EXPECT_EQ(b.getCountPtr(), 0u);
        EXPECT_FALSE(b.isOwnerPtr());
        c.destroyPtr();
        this->expect_empty(c, true);
        c = maker.make(); // nothing of the old one is left
        EXPECT_TRUE(c && c.getCountPtr() == levels);
    }
    EXPECT_TRUE(Allocator::getMemory() == memory || has_device);
}

TYPED_TEST(HandleTest, clones_are_objects_of_their_own) {
    using Type = typename TypeParam::Type;
    if constexpr(!TypeParam::copyable) {
        const Type handle{VoidImpl()};
        const std::string name = TypeParam::name;
        EXPECT_ASSERTION(handle.clonePtr(),
                         "0 && \"" + name + "\" \"::\" \"" + name + "\" \"::clonePtr(): can't clone noncopy class\"");
    } else {
        const uint32_t levels = get_levels<Type>();
        Type a{VoidImpl()};
        Type b = a.clonePtr(); // makes the object of an empty handle
        this->expect_object(a, levels);
        this->expect_object(b, levels);
        EXPECT_TRUE(a != b && (a < b) == (b > a) && (a <= b) != (b <= a));
        a.clearPtr();
        this->expect_object(b, levels);
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
