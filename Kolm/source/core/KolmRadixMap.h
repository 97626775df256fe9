// Adaptive radix tree: an ordered map for integer keys.
//
// Each level takes 8 bits of the key, from the top down; `shift` says how far to the right they stand. The nodes at
// shift 0 hold the values, each in memory of its own, which stays where it is as long as its key. Nodes come in four
// kinds with more and more room (KolmRadixNode.h) and are replaced when they fill up or empty.

#pragma once

#include "KolmRadixNode.h"

namespace Kolm {

/// Map over \p Bits bits of unsigned keys.
template<class Key, class Type, uint32_t Bits = sizeof(Key) * 8> class RadixMap {
    static_assert(std::is_unsigned_v<Key>, "RadixMap takes unsigned keys");
    static_assert(Bits && Bits % 8 == 0 && Bits <= sizeof(Key) * 8, "RadixMap takes whole bytes of the key");

    using Nodes = Radix::Nodes<Key, Type>;
    using Node = typename Nodes::Node;

    static constexpr uint32_t Shift = Bits - 8; // of the root

public:
    /// Walks in ascending order. Any append and remove whose key shares all but the last 8 bits makes it invalid.
    template<class Value> class IteratorImpl {
    public:
        IteratorImpl() = default;
        IteratorImpl(Node *node, uint32_t index) : node(node), index(index) {}
        template<class Other, class = std::enable_if_t<std::is_convertible_v<Other *, Value *>>>
        IteratorImpl(const IteratorImpl<Other> &it) : node(it.getNode()), index(it.getIndex()) {}

        explicit operator bool() const { return node != nullptr; }
        Value &operator*() const { return ref(); }
        Value *operator->() const { return &ref(); }
        Key getKey() const {
            KOLM_ASSERT(node && "RadixMap::Iterator::getKey(): invalid iterator");
            return node->key(index);
        }
        IteratorImpl &operator++() {
            if(node) node = node->next(0, index);
            return *this;
        }
        IteratorImpl &operator--() {
            if(node) node = node->prev(0, index);
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
        bool operator==(const IteratorImpl &it) const { return node == it.node && (!node || index == it.index); }
        bool operator!=(const IteratorImpl &it) const { return !(*this == it); }
        Node *getNode() const { return node; }
        uint32_t getIndex() const { return index; }

    private:
        Value &ref() const {
            KOLM_ASSERT(node && "RadixMap::Iterator::operator*(): invalid iterator");
            return node->ref(index);
        }
        Node *node = nullptr; // at shift 0
        uint32_t index = 0;
    };
    using Iterator = IteratorImpl<Type>;
    using ConstIterator = IteratorImpl<const Type>;

    RadixMap() = default;
    RadixMap(const RadixMap &map) { copy(map); }
    RadixMap(RadixMap &&map) noexcept { swap(map); }
    ~RadixMap() { clear(); }
    RadixMap &operator=(const RadixMap &map) {
        copy(map);
        return *this;
    }
    RadixMap &operator=(RadixMap &&map) noexcept {
        move(map);
        return *this;
    }

    void clear() {
        if(root) root->release(pools, Shift);
        root = nullptr;
        pools.release();
    }
    void swap(RadixMap &map) {
        Kolm::swap(root, map.root);
        pools.swap(map.pools);
    }
    void copy(const RadixMap &map) {
        if(this == &map) return;
        clear();
        for(ConstIterator it = map.begin(); it; ++it) append(it.getKey(), *it);
    }
    /// Takes the contents over; \p map is empty afterwards.
    void move(RadixMap &map) {
        if(this == &map) return;
        clear();
        swap(map);
    }
    void move(RadixMap &&map) { move(map); }

    /// The slot of \p key, which is added with a default value if it is absent.
    Iterator append(Key key) {
        if(root == nullptr) root = Nodes::create(pools, nullptr, 0);
        root = Nodes::expand(pools, root, Shift);
        uint32_t index = 0;
        Node *node = root->append(pools, key, Shift, index);
        return Iterator(node, index);
    }
    /// Sets the value of \p key, which is added if it is absent.
    Iterator append(Key key, const Type &data) {
        Iterator it = append(key);
        *it = data;
        return it;
    }
    Iterator append(Key key, Type &&data) {
        Iterator it = append(key);
        *it = std::move(data);
        return it;
    }

    bool remove(Key key) {
        if(root == nullptr || !root->remove(pools, key, Shift)) return false;
        if(root->length)
            root = Nodes::shrink(pools, root, Shift);
        else
            clear();
        return true;
    }
    bool remove(const Iterator &it) { return it && remove(it.getKey()); }

    bool empty() const { return root == nullptr; }
    explicit operator bool() const { return root != nullptr; }
    /// Bytes of all nodes and values.
    size_t memory() const { return root ? root->memory(Shift) : 0; }
    /// Number of values, which are counted node by node.
    uint32_t size() const { return root ? root->size(Shift) : 0; }

    Iterator find(Key key) { return find_key<Iterator>(key); }
    ConstIterator find(Key key) const { return find_key<ConstIterator>(key); }
    /// Value of \p key, or null.
    Type *get(Key key) {
        uint32_t index = 0;
        Node *node = root ? root->find(key, Shift, index) : nullptr;
        return node ? node->get(index) : nullptr;
    }
    const Type *get(Key key) const { return const_cast<RadixMap *>(this)->get(key); }

    Iterator begin() { return first<Iterator>(); }
    ConstIterator begin() const { return first<ConstIterator>(); }
    Iterator end() { return Iterator(); }
    ConstIterator end() const { return ConstIterator(); }
    Iterator back() { return last<Iterator>(); }
    ConstIterator back() const { return last<ConstIterator>(); }

private:
    template<class It> It find_key(Key key) const {
        uint32_t index = 0;
        Node *node = root ? root->find(key, Shift, index) : nullptr;
        return It(node, index);
    }
    template<class It> It first() const {
        uint32_t index = 0;
        Node *node = root ? root->min(Shift, index) : nullptr;
        return It(node, index);
    }
    template<class It> It last() const {
        uint32_t index = 0;
        Node *node = root ? root->max(Shift, index) : nullptr;
        return It(node, index);
    }

    Node *root = nullptr;
    typename Nodes::Pools pools;
};

} // namespace Kolm
