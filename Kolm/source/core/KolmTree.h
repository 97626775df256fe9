// Balanced ordered tree, the one mechanism under Map and Set.
//
// The tree is of AVL kind with slightly loose heights: a rotation lowers the height of the node that sinks by exactly
// one and leaves that of the node that rises, so a stored height can exceed the true one by one until the walk above
// recomputes it. The shape, and with it the order of iteration over equal work, rests on this arithmetic.
//
// Each tree has memory of its own for its nodes.

#pragma once

#include "KolmNodePool.h"

namespace Kolm {

/// \p Compare has a static `compare(const Type &, const Key &)` for each key type: negative if the element stands
/// before the key, positive if behind it, 0 if they are the same.
template<class Type, class Compare> class Tree {
public:
    struct Node {
        explicit Node(const Type &data) : height(0), stale(0), data(data) {}
        explicit Node(Type &&data) : height(0), stale(0), data(std::move(data)) {}

        Node *left = nullptr;
        Node *right = nullptr;
        Node *parent = nullptr;
        int32_t height : 31; // 0 for a leaf
        uint32_t stale : 1;  // a rotation left the height as it was: the next walk may change it
        Type data;
    };

    /// Walks in ascending order. Removing the node under an iterator invalidates that iterator only.
    template<class Value, class NodePtr> class IteratorImpl {
    public:
        IteratorImpl() = default;
        explicit IteratorImpl(NodePtr node) : node(node) {}
        template<class V, class N, class = std::enable_if_t<std::is_convertible_v<N, NodePtr>>>
        IteratorImpl(const IteratorImpl<V, N> &it) : node(it.getNode()) {}

        explicit operator bool() const { return node != nullptr; }
        Value &operator*() const { return ref(); }
        Value *operator->() const { return &ref(); }
        IteratorImpl &operator++() {
            node = next(node);
            return *this;
        }
        IteratorImpl &operator--() {
            node = prev(node);
            return *this;
        }
        IteratorImpl operator++(int) {
            IteratorImpl it = *this;
            ++*this;
            return it;
        }
        IteratorImpl operator--(int) {
            IteratorImpl it = *this;
            --*this;
            return it;
        }
        bool operator==(const IteratorImpl &it) const { return node == it.node; }
        bool operator!=(const IteratorImpl &it) const { return node != it.node; }
        NodePtr getNode() const { return node; }

    protected:
        Value &ref() const {
            KOLM_ASSERT(node && "Tree::Iterator::operator*(): invalid iterator");
            return node->data;
        }
        NodePtr node = nullptr;
    };
    using Iterator = IteratorImpl<Type, Node *>;
    using ConstIterator = IteratorImpl<const Type, const Node *>;

    Tree() = default;
    Tree(const Tree &tree) { copy(tree); }
    Tree(Tree &&tree) noexcept { move(tree); }
    ~Tree() { clear(); }

    Tree &operator=(const Tree &tree) {
        copy(tree);
        return *this;
    }
    Tree &operator=(Tree &&tree) noexcept {
        move(tree);
        return *this;
    }

    void clear() {
        if constexpr(!std::is_trivially_destructible_v<Type>) destroy_nodes(impl.root);
        impl = TreeImpl();
        release_nodes();
    }
    void swap(Tree &tree) {
        Kolm::swap(impl, tree.impl);
        arena.swap(tree.arena);
        nodes.swap(tree.nodes);
    }
    void copy(const Tree &tree) {
        if(this == &tree) return;
        clear();
        impl.root = copy_nodes(tree.impl.root, nullptr);
        impl.length = tree.impl.length;
    }
    /// Takes the nodes over; \p tree is empty afterwards.
    void move(Tree &tree) {
        if(this == &tree) return;
        clear();
        swap(tree);
    }
    void move(Tree &&tree) { move(tree); }

    /// Adds an element. One with the same key is overwritten, key included.
    Iterator append(const Type &data) { return append_data(data); }
    Iterator append(Type &&data) { return append_data(std::move(data)); }

    template<class Key> bool remove(const Key &key) { return remove_node(find_node(key)); }
    bool remove(const Iterator &it) { return remove_node(it.getNode()); }

    bool empty() const { return impl.length == 0; }
    explicit operator bool() const { return impl.length != 0; }
    /// Bytes of all nodes, with those that wait to be used again.
    size_t memory() const { return arena.memory(); }
    uint32_t size() const { return impl.length; }

    template<class Key> Iterator find(const Key &key) { return Iterator(find_node(key)); }
    template<class Key> ConstIterator find(const Key &key) const { return ConstIterator(find_node(key)); }
    /// First element that does not stand before \p key.
    template<class Key> ConstIterator findFrom(const Key &key) const { return ConstIterator(find_from(key)); }
    template<class Key> Iterator findFrom(const Key &key) { return Iterator(find_from(key)); }
    /// Element of \p key, or null.
    template<class Key> Type *get(const Key &key) {
        Node *node = find_node(key);
        return node ? &node->data : nullptr;
    }
    template<class Key> const Type *get(const Key &key) const {
        const Node *node = find_node(key);
        return node ? &node->data : nullptr;
    }

    Iterator begin() { return Iterator(leftmost(impl.root)); }
    ConstIterator begin() const { return ConstIterator(leftmost(impl.root)); }
    Iterator end() { return Iterator(); }
    ConstIterator end() const { return ConstIterator(); }
    Iterator back() { return Iterator(rightmost(impl.root)); }
    ConstIterator back() const { return ConstIterator(rightmost(impl.root)); }

    /// Number of levels, 0 for an empty tree.
    uint32_t depth() const { return get_depth(impl.root); }

private:
    struct TreeImpl {
        Node *root = nullptr;
        uint32_t length = 0;
    };
    TreeImpl impl;
    NodeArena<> arena;
    NodeList<sizeof(Node), alignof(Node)> nodes;

    template<class Data> Node *create_node(Data &&data) {
        return new(nodes.allocate(arena)) Node(std::forward<Data>(data));
    }
    void delete_node(Node *node) {
        node->~Node();
        // An empty tree holds no memory.
        if(impl.length)
            nodes.free(node);
        else
            release_nodes();
    }
    void release_nodes() {
        arena.release();
        nodes.clear();
    }

    template<class N> static N *leftmost(N *node) {
        while(node && node->left) node = node->left;
        return node;
    }
    template<class N> static N *rightmost(N *node) {
        while(node && node->right) node = node->right;
        return node;
    }
    template<class N> static N *next(N *node) {
        if(node == nullptr) return nullptr;
        if(node->right) return leftmost<N>(node->right);
        while(node->parent && node->parent->right == node) node = node->parent;
        return node->parent;
    }
    template<class N> static N *prev(N *node) {
        if(node == nullptr) return nullptr;
        if(node->left) return rightmost<N>(node->left);
        while(node->parent && node->parent->left == node) node = node->parent;
        return node->parent;
    }

    static int32_t get_height(const Node *node) { return node ? node->height : -1; }
    static int32_t get_balance(const Node *node) { return get_height(node->left) - get_height(node->right); }
    static uint32_t get_depth(const Node *node) {
        return node ? 1 + max(get_depth(node->left), get_depth(node->right)) : 0;
    }

    // Puts \p child where \p node hangs.
    void replace_link(Node *node, Node *child) {
        Node *parent = node->parent;
        if(parent == nullptr)
            impl.root = child;
        else if(parent->left == node)
            parent->left = child;
        else
            parent->right = child;
        if(child) child->parent = parent;
    }
    Node *rotate_left(Node *node) {
        Node *child = node->right;
        replace_link(node, child);
        node->right = child->left;
        if(node->right) node->right->parent = node;
        child->left = node;
        node->parent = child;
        node->height -= 1;
        node->stale = child->stale = 1;
        return child;
    }
    Node *rotate_right(Node *node) {
        Node *child = node->left;
        replace_link(node, child);
        node->left = child->right;
        if(node->left) node->left->parent = node;
        child->right = node;
        node->parent = child;
        node->height -= 1;
        node->stale = child->stale = 1;
        return child;
    }
    // Walks from a node with a changed child to the root without stopping early. Where neither a child has changed nor
    // a rotation has left the node stale, the step would find what it found last time: it is skipped, and the other
    // child, which is far away in memory, is not read.
    void rebalance(Node *node) {
        bool is_changed = true;
        for(; node; node = node->parent) {
            if(!is_changed && !node->stale) continue;
            const int32_t left = get_height(node->left);
            const int32_t right = get_height(node->right);
            const int32_t height = 1 + max(left, right);
            is_changed = (node->height != height);
            node->height = height;
            node->stale = 0;
            if(left - right >= 2) {
                if(get_balance(node->left) < 0) rotate_left(node->left);
                node = rotate_right(node);
                is_changed = true;
            } else if(left - right <= -2) {
                if(get_balance(node->right) > 0) rotate_right(node->right);
                node = rotate_left(node);
                is_changed = true;
            }
        }
    }

    template<class Key> Node *find_node(const Key &key) const {
        Node *node = impl.root;
        while(node) {
            const int32_t ret = Compare::compare(node->data, key);
            Node *next = (ret < 0) ? node->right : node->left;
            if(ret == 0) break;
            node = next;
        }
        return node;
    }
    template<class Key> Node *find_from(const Key &key) const {
        Node *ret = nullptr;
        for(Node *node = impl.root; node;) {
            if(Compare::compare(node->data, key) < 0) {
                node = node->right;
            } else {
                ret = node;
                node = node->left;
            }
        }
        return ret;
    }

    template<class Data> Iterator append_data(Data &&data) {
        Node *parent = nullptr;
        int32_t ret = 0;
        for(Node *node = impl.root; node;) {
            ret = Compare::compare(node->data, data);
            if(ret == 0) {
                node->data = std::forward<Data>(data);
                return Iterator(node);
            }
            parent = node;
            node = (ret < 0) ? node->right : node->left;
        }
        Node *node = create_node(std::forward<Data>(data));
        node->parent = parent;
        if(parent == nullptr)
            impl.root = node;
        else if(ret < 0)
            parent->right = node;
        else
            parent->left = node;
        impl.length += 1;
        rebalance(parent);
        return Iterator(node);
    }
    bool remove_node(Node *node) {
        if(node == nullptr) return false;
        Node *lowest;
        if(node->left && node->right) {
            const bool right = (node->left->height <= node->right->height);
            Node *other = right ? leftmost(node->right) : rightmost(node->left);
            lowest = (other->parent == node) ? other : other->parent;
            replace_link(other, right ? other->right : other->left);
            replace_link(node, other);
            other->left = node->left;
            other->right = node->right;
            if(other->left) other->left->parent = other;
            if(other->right) other->right->parent = other;
            other->height = node->height;
            other->stale = node->stale;
        } else {
            lowest = node->parent;
            replace_link(node, node->left ? node->left : node->right);
        }
        impl.length -= 1;
        delete_node(node);
        rebalance(lowest);
        return true;
    }

    static void destroy_nodes(Node *node) {
        if(node == nullptr) return;
        destroy_nodes(node->left);
        destroy_nodes(node->right);
        node->~Node();
    }
    Node *copy_nodes(const Node *src, Node *parent) {
        if(src == nullptr) return nullptr;
        Node *node = create_node(src->data);
        node->height = src->height;
        node->stale = src->stale;
        node->parent = parent;
        node->left = copy_nodes(src->left, node);
        node->right = copy_nodes(src->right, node);
        return node;
    }
};

} // namespace Kolm
