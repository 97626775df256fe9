// The template behind the public handles, on classes of this test: views, const handles, ownership, narrowing and the
// crossing of arrays and callbacks, which the public classes show only in part.

#include "OstrevanHandleKolm.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "OstrevanUtilsKolm.h"

// A chain of three classes, the first one abstract, and a leaf.
namespace Kolm {

class Root : public Allocated {
public:
    virtual ~Root() = default;
    virtual int getType() const = 0;
    int getValue() const { return value; }
    void setValue(int v) { value = v; }

protected:
    int value = 0;
};

class Node : public Root {
public:
    Node() { live++; }
    Node(const Node &node) : Root(node) { live++; }
    Node(const Node &node, bool take) : Root(node) {
        live++;
        if(take) const_cast<Node &>(node).value = 0;
    }
    Node &operator=(const Node &) = default;
    ~Node() override { live--; }
    int getType() const override { return 1; }

    static std::atomic<int> live;
};
std::atomic<int> Node::live{0};

class Tip : public Node {
public:
    int getType() const override { return 2; }
};

class Leaf : public Allocated {
public:
    int value = 0;
};

} // namespace Kolm

namespace Ostrevan {

class Root {
    OSTREVAN_HANDLE(Root)
public:
    Root() : Root(VoidImpl()) {}
    int getType() const;
    int getValue() const;
    void setValue(int value);
};
class Node : public Root {
    OSTREVAN_HANDLE(Node)
public:
    Node();
    explicit Node(const Root &root);
    bool setNode(int value);
};
class Tip : public Node {
    OSTREVAN_HANDLE(Tip)
public:
    Tip() : Tip(VoidImpl()) {}
};
class Leaf {
    OSTREVAN_LEAF_HANDLE(Leaf)
public:
    Leaf() : Leaf(VoidImpl()) {}
    void setValue(int value);
    int getValue() const;
};

struct Root::RootImpl : HandleImpl<Root, Kolm::Root> {};
struct Node::NodeImpl : HandleImpl<Node, Kolm::Node, Root> {};
struct Tip::TipImpl : HandleImpl<Tip, Kolm::Tip, Node> {};
struct Leaf::LeafImpl : HandleImpl<Leaf, Kolm::Leaf> {};

OSTREVAN_HANDLE_SOURCE(Root, Noncopyable)
OSTREVAN_HANDLE_SOURCE(Node, Copyable, Root)
OSTREVAN_HANDLE_SOURCE(Tip, Copyable, Node)
OSTREVAN_HANDLE_SOURCE(Leaf, Copyable)

int Root::getType() const { return impl().ref().getType(); }
int Root::getValue() const { return impl().ref().getValue(); }
void Root::setValue(int value) { impl().ref().setValue(value); }
Node::Node() : Node(VoidImpl()) { impl().alloc(); }
Node::Node(const Root &root) : Node(VoidImpl()) {
    impl().narrow(
        root.impl(), [](const Kolm::Root &core) { return core.getType() == 1; }, "Node::Node(): invalid type\n");
}
bool Node::setNode(int value) {
    if(Kolm::Node *node = impl().get()) node->setValue(value);
    return impl().isValid();
}
void Leaf::setValue(int value) { impl().ref().value = value; }
int Leaf::getValue() const { return impl().ref().value; }

} // namespace Ostrevan

using namespace Ostrevan;

class HandleImplTest : public testing::Test {
protected:
    ~HandleImplTest() override { EXPECT_EQ(Kolm::Node::live, 0); }
};

TEST_F(HandleImplTest, counts_records) {
    Node a;
    EXPECT_FALSE(a);
    EXPECT_TRUE(a.isValidPtr());
    EXPECT_EQ(a.getCountPtr(), 0u); // allocated is not valid
    EXPECT_EQ(a.getInternalPtr(), nullptr);
    Node b = a;
    b.setValue(1);
    EXPECT_TRUE(a && b && a == b);
    EXPECT_EQ(a.getCountPtr(), 4u);
    EXPECT_EQ(a.getValue(), 1);
    EXPECT_TRUE(a.isOwnerPtr());
    Root root = a;
    EXPECT_EQ(a.getCountPtr(), 5u);
    EXPECT_TRUE(root == b);
    b.clearPtr();
    EXPECT_EQ(a.getCountPtr(), 3u);
    EXPECT_TRUE(!b && b.isValidPtr());
    Tip tip;
    tip.setValue(1);
    EXPECT_EQ(tip.getCountPtr(), 3u);
    Leaf leaf;
    leaf.setValue(1);
    EXPECT_EQ(leaf.getCountPtr(), 1u);
}

TEST_F(HandleImplTest, makes_the_most_derived_object) {
    Tip tip;
    Root &root = tip;
    root.setValue(5); // an inherited method is the first to ask
    EXPECT_EQ(tip.getType(), 2);
    EXPECT_EQ(tip.getInternalPtr(), root.getInternalPtr());
    root.destroyPtr();
    EXPECT_TRUE(!tip && tip.isValidPtr());
    EXPECT_EQ(tip.getType(), 2); // a const method may make it too
    static_cast<Node &>(tip).clearPtr();
    EXPECT_FALSE(tip);
    EXPECT_EQ(Kolm::Node::live, 0);
}

TEST_F(HandleImplTest, rebuilds_what_was_destroyed_elsewhere) {
    // The plain allocator gives the same address again: equal addresses must not be taken for one object.
    for(int i = 0; i < 1000; i++) {
        Node a;
        Node b = a;
        a.setValue(1);
        a.destroyPtr();
        ASSERT_TRUE(!b && b.isValidPtr());
        b.setNode(2);
        ASSERT_EQ(b.Root::getValue(), 2);
        ASSERT_EQ(b.getCountPtr(), 2u);
        ASSERT_EQ(Kolm::Node::live, 1);
    }
    // never used: the object must go, and not come back
    Node a;
    Node b = a;
    a.destroyPtr();
    EXPECT_EQ(Kolm::Node::live, 0);
    b.setValue(3);
    EXPECT_EQ(Kolm::Node::live, 1);
    // made on first use: can't create any more
    Leaf c;
    c.setValue(1);
    Leaf d = c;
    c.destroyPtr();
    EXPECT_TRUE(!d && !d.isValidPtr() && c.isValidPtr());
    EXPECT_ASSERTION(d.setValue(1), "0 && \"Leaf\" \"Impl::ref(): is not constructed\"");
}

TEST_F(HandleImplTest, copies_onto_a_destroyed_handle) {
    Node a;
    a.setValue(1);
    Node b = a;
    Node c = a;
    a.destroyPtr();
    Node d;
    d.setValue(4); // likely at the address of the first
    b = d;
    c = Node(d);
    EXPECT_EQ(b.getValue() + c.getValue(), 8);
    EXPECT_EQ(static_cast<const Root &>(b).getCountPtr(), 6u);
}

TEST_F(HandleImplTest, moves_leave_nothing_behind) {
    Node a;
    a.setValue(7);
    Node b = std::move(a);
    EXPECT_TRUE(!a && !a.isValidPtr() && !static_cast<Root &>(a).isValidPtr());
    EXPECT_EQ(b.getCountPtr(), 2u);
    EXPECT_ASSERTION(a.setValue(1), "0 && \"Root\" \"Impl::ref(): is not constructed\"");
    EXPECT_ASSERTION(a.impl().create(), "isCreate() && \"Node\" \"Impl::create(): can't be created\"");
    EXPECT_ASSERTION(a.impl().alloc(), "isCreate() && \"Node\" \"Impl::alloc(): can't be created\"");
    EXPECT_FALSE(a.setNode(1)); // get() gives null instead
    Root root = std::move(b);   // also if only the base class moves
    EXPECT_TRUE(!b && root);
    EXPECT_EQ(root.getCountPtr(), 1u);
    EXPECT_EQ(root.getValue(), 7);
    Node c;
    c.setValue(1);
    Node &self = c;
    c = std::move(self);
    EXPECT_TRUE(c);
    Node d = c;
    c = std::move(d); // one object: both stay
    EXPECT_TRUE(c && d);
}

TEST_F(HandleImplTest, empties_of_all_kinds) {
    EXPECT_FALSE(Node::null);
    EXPECT_TRUE(Node::null.isValidPtr());
    EXPECT_ASSERTION(Node::null.getValue(), "0 && \"Root\" \"Impl::ref(): is not constructed\"");
    EXPECT_ASSERTION(Leaf::null.getValue(), "0 && \"Leaf\" \"Impl::ref(): is not constructed\"");
    Node copy = Node::null;
    copy.setValue(1);
    EXPECT_TRUE(copy && !Node::null);
    copy = Node::null;
    EXPECT_TRUE(!copy && !copy.isValidPtr() && copy.Root::getCountPtr() == 0);
    EXPECT_EQ(Kolm::Node::live, 0);
    Leaf leaf;
    leaf.setValue(1);
    leaf = Leaf(VoidImpl()); // moved, with the rights of the empty handle
    EXPECT_TRUE(!leaf && leaf.isValidPtr());
}

TEST_F(HandleImplTest, views_do_not_own) {
    Kolm::Node core;
    core.setValue(3);
    {
        Node view = TS<Node>(&core);
        EXPECT_TRUE(view && view.isValidPtr() && !view.isOwnerPtr() && !view.isConstPtr());
        EXPECT_EQ(view.getCountPtr(), 2u);
        view.setValue(4);
        Node other = TS<Node>(&core);
        EXPECT_TRUE(view == other);
        EXPECT_EQ(other.getCountPtr(), 2u); // a word of its own
        view = other;                       // equal already
        EXPECT_EQ(other.getCountPtr(), 2u);
    }
    EXPECT_EQ(core.getValue(), 4);
    Node none = TS<Node>(static_cast<Kolm::Node *>(nullptr));
    EXPECT_TRUE(!none && none.isValidPtr());
    {
        Node owned = TS<Node>(new Kolm::Node(), true);
        EXPECT_TRUE(owned.isOwnerPtr());
        EXPECT_EQ(Kolm::Node::live, 2);
        Kolm::Node *ptr = owned.unacquirePtr().impl().get();
        EXPECT_FALSE(owned.isOwnerPtr());
        owned.clearPtr();
        EXPECT_EQ(Kolm::Node::live, 2);
        owned = TS<Node>(ptr);
        owned.acquirePtr();
    }
    EXPECT_EQ(Kolm::Node::live, 1);
    Node moved = TS<Node>(static_cast<const Kolm::Node &>(core)); // takes the contents over
    EXPECT_EQ(moved.getValue(), 4);
    EXPECT_EQ(core.getValue(), 0);
}

TEST_F(HandleImplTest, const_handles_stay_const) {
    Kolm::Node core;
    const Kolm::Node *const_core = &core;
    Node view = TS<Node>(const_core);
    EXPECT_TRUE(view.isConstPtr() && view);
    EXPECT_EQ(view.getValue(), 0);
    const Node &const_view = view;
    Node copy = const_view;
    EXPECT_TRUE(copy.isConstPtr());
    Root root = const_view;
    EXPECT_TRUE(root.isConstPtr());
    EXPECT_ASSERTION(copy.setValue(1), "!isConst() && \"Root\" \"Impl::ref(): constant pointer\"");
    EXPECT_ASSERTION(copy.setNode(1), "!isConst() && \"Node\" \"Impl::get(): constant pointer\"");
    EXPECT_ASSERTION(Node bad = view, "!impl->isConst() && \"Node\" \"Impl::set(): constant pointer\"");
    EXPECT_ASSERTION(copy = view, "!impl->isConst() && \"Node\" \"Impl::set(): constant pointer\"");
    // One object: the flags are combined. A second copy never gains what the first has not.
    Node plain = TS<Node>(&core);
    plain = const_view;
    EXPECT_FALSE(plain.isConstPtr());
}

TEST_F(HandleImplTest, clones_are_objects_of_their_own) {
    Node a;
    a.setValue(9);
    Node b = a.clonePtr();
    EXPECT_TRUE(a != b && b.isOwnerPtr());
    EXPECT_EQ(a.getValue() + b.getValue(), 18);
    EXPECT_EQ(b.getCountPtr(), 2u);
    Root root = a;
    EXPECT_ASSERTION(root.clonePtr(), "0 && \"Root\" \"::\" \"Root\" \"::clonePtr(): can't clone noncopy class\"");
    EXPECT_ASSERTION(b.impl().alloc(), "!ptr && \"Node\" \"Impl::alloc(): is already created\"");
    EXPECT_ASSERTION(Root().impl().alloc(), "ptr && \"Root\" \"Impl::alloc(): can't create\"");
    EXPECT_ASSERTION(Root().setValue(1), "0 && \"Root\" \"Impl::ref(): is not constructed\"");
}

TEST_F(HandleImplTest, narrows_by_type) {
    CapturedLog log;
    Node node;
    node.setValue(2);
    Root root = node;
    Node same(root);
    EXPECT_TRUE(same == node);
    EXPECT_EQ(same.getCountPtr(), 2u); // a word of its own
    EXPECT_FALSE(same.isOwnerPtr());
    EXPECT_FALSE(Node(Root()));
    EXPECT_EQ(log.text(), "");
    Tip tip;
    tip.setValue(1);
    Root other = tip;
    EXPECT_FALSE(Node(other));
    EXPECT_EQ(log.text(), "Node::Node(): invalid type\n");
}

TEST_F(HandleImplTest, arrays_cross_the_layer) {
    Kolm::Array<Kolm::Node> cores(3);
    for(uint32_t i = 0; i < 3; i++) cores[i].setValue(int(i));
    Array<Node> views = copyArray<Node>(cores);
    const Array<Node> const_views = copyConstArray<Node>(cores);
    ASSERT_EQ(views.size(), 3u);
    views[2].setValue(7);
    EXPECT_EQ(const_views[2].getValue(), 7);
    EXPECT_TRUE(const_views[0].isConstPtr() && !views[0].isConstPtr());

    Kolm::Array<Kolm::Node *> ptrs = copyArray<Kolm::Node *>(views);
    EXPECT_EQ(ptrs[1], &cores[1]);
    EXPECT_EQ(copyArray<Node>(ptrs)[1].getInternalPtr(), &cores[1]);
    Array<Node> owned;
    owned.append(TS<Node>(new Kolm::Node(), true));
    owned.append(Node::null);
    owned[1] = Node::null; // empty, and makes nothing
    ptrs = copyArray<Kolm::Node *>(owned, true);
    EXPECT_FALSE(owned[0].isOwnerPtr());
    owned[0].clearPtr();
    delete ptrs[0];
    EXPECT_EQ(ptrs[1], nullptr);

    Kolm::Node *slots[2] = {};
    EXPECT_ASSERTION(copyArray(slots, views), "array.size() <= Size && \"copyArray(): invalid array size\"");
    EXPECT_ASSERTION(copyList(slots, {Node(), Node(), Node()}),
                     "list.size() <= Size && \"copyList(): invalid array size\"");
    EXPECT_EQ(copyList(slots, {views[0], views[2]}), 2u);
    EXPECT_EQ(slots[1], &cores[2]);
}

static bool run_node(Kolm::Node *node, Function<bool(Node)> func) { return func(TS<Node>(node)); }
static bool run_core(Node node, Kolm::Function<bool(Kolm::Node *)> func) { return func(node.impl().get()); }

TEST_F(HandleImplTest, functions_cross_the_layer) {
    int calls = 0;
    Function<void(int)> func = [&calls](int num) { calls += num; };
    Kolm::Function<void(int)> core = func;
    Function<void(int)> back = core;
    core(1);
    back(10);
    EXPECT_EQ(calls, 11);
    EXPECT_FALSE((Kolm::Function<void(int)>(Function<void(int)>())));
    EXPECT_FALSE((Function<void(int)>(Kolm::Function<void(int)>())));

    Function<bool(Node)> user = [](Node node) { return node.getValue() == 5; };
    auto wrapped = toCoreFunction<bool(Kolm::Node *)>(run_node, user);
    Kolm::Node node;
    EXPECT_FALSE(wrapped(&node));
    node.setValue(5);
    EXPECT_TRUE(wrapped(&node));
    auto unwrapped = toPublicFunction<bool(Node)>(run_core, wrapped);
    EXPECT_TRUE(unwrapped(TS<Node>(&node)));
    EXPECT_TRUE(toCoreFunction<bool(Kolm::Node *)>(run_node, Function<bool(Node)>()).empty());
    EXPECT_TRUE(toPublicFunction<bool(Node)>(run_core, Kolm::Function<bool(Kolm::Node *)>()).empty());
}

TEST_F(HandleImplTest, copies_of_one_handle_on_many_threads) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    constexpr int num = 5000; // of each thread
#else
    constexpr int num = 125000;
#endif
    Node node;
    node.setValue(1);
    std::thread threads[8];
    for(std::thread &thread : threads) {
        thread = std::thread([node] {
            for(int i = 0; i < num; i++) {
                Node copy = node;
                Root root = copy;
                if(root.getValue() != 1) abort();
                Node moved = std::move(copy);
                if(copy || !moved || moved.getCountPtr() < 5) abort();
                if(i % 3 == 0) moved.clearPtr();
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_EQ(node.getCountPtr(), 2u);
    node.destroyPtr();
    // The object goes once, whoever comes first, and the word with the last of those who copy it meanwhile.
    for(int i = 0; i < 200; i++) {
        Node shared;
        shared.setValue(1);
        for(int k = 0; k < 8; k++) {
            threads[k] = std::thread([copy = shared, k]() mutable {
                for(int n = 0; n < 20; n++) {
                    Node other = copy;
                    Root root = other;
                    if(bool(root) && !root.isOwnerPtr() && bool(root)) abort();
                    if(k % 2 && n == 10 + k) return other.destroyPtr();
                    copy = other;
                }
            });
        }
        shared.clearPtr();
        for(std::thread &thread : threads) thread.join();
        EXPECT_EQ(Kolm::Node::live, 0);
    }
}
