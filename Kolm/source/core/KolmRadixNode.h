// The nodes of RadixMap.
//
//     kind       entries   keys                            data
//     NodeN<4>   4         4 bytes, ascending              4 pointers
//     NodeN<16>  16        16 bytes, ascending             16 pointers
//     Node64     64        256 slots, 0xFF where absent    64 pointers
//     Node256    256                                       256 pointers
//
// At shift 0 a pointer leads to a value, above it to a node. An `index` is a place in `keys` for NodeN and the byte of
// the key for the other two, so that it ascends with the key in all of them. A node grows when all but one of its
// entries are in use, so that the last one never is; a Node256 does not grow and uses all.

#pragma once

#include "KolmNodePool.h"

namespace Kolm {

namespace Radix {

/// Place of the first of \p Size bytes that is \p byte, \p Size if there is none: bytes are compared by eight at once.
template<uint32_t Size> inline uint32_t find_byte(const uint8_t *bytes, uint8_t byte) {
    constexpr uint32_t Step = (Size < 8) ? Size : 8;
    using Word = std::conditional_t<Step == 4, uint32_t, uint64_t>;
    constexpr Word ones = Word(0x0101010101010101ull);
    for(uint32_t i = 0; i < Size; i += Step) {
        Word word;
        memcpy(&word, bytes + i, sizeof(word));
        word ^= ones * byte;
        // The lowest top bit marks the first zero byte; those above it may be wrong.
        const Word zeros = Word((word - ones) & ~word & (ones << 7));
        if(zeros) return i + uint32_t(__builtin_ctzll(zeros)) / 8;
    }
    return Size;
}

template<class Key, class Type> struct Nodes {
    struct Pools;

    /// Node of any kind. \p index receives the place within the node that is returned, which stands at shift 0.
    struct Node {
        Node(Node *parent, uint8_t byte, uint32_t capacity)
            : parent(parent), length(0), capacity(uint16_t(capacity)), byte(byte) {}
        virtual ~Node() = default;

        /// Destroys all below and the node itself.
        virtual void release(Pools &pools, uint32_t shift) = 0;
        /// Bytes, and number of values, of the node and all below.
        virtual size_t memory(uint32_t shift) const = 0;
        virtual uint32_t size(uint32_t shift) const = 0;
        /// Index of a child.
        virtual uint32_t find(const Node *child) const = 0;
        /// First and last value below.
        virtual Node *min(uint32_t shift, uint32_t &index) = 0;
        virtual Node *max(uint32_t shift, uint32_t &index) = 0;
        /// Value before and behind the entry \p index of this node; null at the end.
        virtual Node *prev(uint32_t shift, uint32_t &index) = 0;
        virtual Node *next(uint32_t shift, uint32_t &index) = 0;
        virtual Node *find(Key key, uint32_t shift, uint32_t &index) = 0;
        /// The node must have room: it was expanded.
        virtual Node *append(Pools &pools, Key key, uint32_t shift, uint32_t &index) = 0;
        virtual bool remove(Pools &pools, Key key, uint32_t shift) = 0;
        virtual Type &ref(uint32_t index) = 0;
        virtual Type *get(uint32_t index) = 0;
        /// Byte of the key at an index.
        virtual uint8_t get_byte(uint32_t index) const = 0;

        /// Key of a value of this node, which stands at shift 0.
        Key key(uint32_t index) const {
            Key ret = get_byte(index);
            uint32_t shift = 8;
            for(const Node *node = this; node->parent; node = node->parent, shift += 8) ret |= Key(node->byte) << shift;
            return ret;
        }

        Node *parent;
        uint16_t length;   // entries in use
        uint16_t capacity; // tells the kind
        uint8_t byte;      // of the key, under which the parent holds this node
    };

    /// What the kinds share. Self has, for indices as above, with -1 for none:
    /// first, last, before, after, locate (of a byte), at (the pointer), insert (an entry for a byte), erase.
    template<class Self> struct NodeImpl : public Node {
        using Node::Node;

        void release(Pools &pools, uint32_t shift) override {
            for(int32_t i = self().first(); i >= 0; i = self().after(i)) release_entry(pools, shift, i);
            destroy(pools, this);
        }
        size_t memory(uint32_t shift) const override {
            size_t ret = sizeof(Self);
            if(shift == 0) return ret + sizeof(Type) * this->length;
            for(int32_t i = self().first(); i >= 0; i = self().after(i)) ret += child(i)->memory(shift - 8);
            return ret;
        }
        uint32_t size(uint32_t shift) const override {
            if(shift == 0) return this->length;
            uint32_t ret = 0;
            for(int32_t i = self().first(); i >= 0; i = self().after(i)) ret += child(i)->size(shift - 8);
            return ret;
        }
        uint32_t find(const Node *node) const override { return uint32_t(self().locate(node->byte)); }
        Node *min(uint32_t shift, uint32_t &index) override { return descend_min(self().first(), shift, index); }
        Node *max(uint32_t shift, uint32_t &index) override { return descend_max(self().last(), shift, index); }
        Node *prev(uint32_t shift, uint32_t &index) override {
            const int32_t i = self().before(int32_t(index));
            if(i >= 0) return descend_max(i, shift, index);
            if(this->parent == nullptr) return nullptr;
            index = this->parent->find(this);
            return this->parent->prev(shift + 8, index);
        }
        Node *next(uint32_t shift, uint32_t &index) override {
            const int32_t i = self().after(int32_t(index));
            if(i >= 0) {
                // Where leaves hold few values the walk waits for memory: the leaf behind this one comes meanwhile.
                if(shift == 8) {
                    const int32_t k = self().after(i);
                    if(k >= 0) __builtin_prefetch(self().at(k));
                }
                return descend_min(i, shift, index);
            }
            if(this->parent == nullptr) return nullptr;
            index = this->parent->find(this);
            return this->parent->next(shift + 8, index);
        }
        Node *find(Key key, uint32_t shift, uint32_t &index) override {
            const int32_t i = self().locate(uint8_t(key >> shift));
            if(i < 0) return nullptr;
            if(shift) return child(i)->find(key, shift - 8, index);
            index = uint32_t(i);
            return this;
        }
        Node *append(Pools &pools, Key key, uint32_t shift, uint32_t &index) override {
            const uint8_t byte = uint8_t(key >> shift);
            int32_t i = self().locate(byte);
            if(shift) {
                Node *node = (i < 0) ? create(pools, this, byte) : expand(pools, child(i), shift - 8);
                if(i < 0) i = self().insert(byte);
                self().at(i) = node;
                return node->append(pools, key, shift - 8, index);
            }
            if(i < 0) {
                i = self().insert(byte);
                self().at(i) = ::new(pools.values.allocate(pools.arena)) Type();
            }
            index = uint32_t(i);
            return this;
        }
        bool remove(Pools &pools, Key key, uint32_t shift) override {
            const int32_t i = self().locate(uint8_t(key >> shift));
            if(i < 0) return false;
            if(shift) {
                Node *node = child(i);
                if(!node->remove(pools, key, shift - 8)) return false;
                if(node->length) {
                    self().at(i) = shrink(pools, node, shift - 8);
                    return true;
                }
            }
            release_entry(pools, shift, i);
            self().erase(i);
            return true;
        }

        /// Takes the entries of another node over.
        template<class Other> void take(Other &other, uint32_t shift) {
            for(int32_t i = other.first(); i >= 0; i = other.after(i)) {
                const int32_t k = self().insert(other.get_byte(uint32_t(i)));
                self().at(k) = other.at(i);
                if(shift) child(k)->parent = this;
            }
        }

    protected:
        Self &self() { return static_cast<Self &>(*this); }
        const Self &self() const { return static_cast<const Self &>(*this); }
        Node *child(int32_t i) const { return static_cast<Node *>(self().at(i)); }

        void release_entry(Pools &pools, uint32_t shift, int32_t i) {
            if(shift) return child(i)->release(pools, shift - 8);
            Type *value = static_cast<Type *>(self().at(i));
            value->~Type();
            pools.values.free(value);
        }
        Node *descend_min(int32_t i, uint32_t shift, uint32_t &index) {
            if(shift) return child(i)->min(shift - 8, index);
            index = uint32_t(i);
            return this;
        }
        Node *descend_max(int32_t i, uint32_t shift, uint32_t &index) {
            if(shift) return child(i)->max(shift - 8, index);
            index = uint32_t(i);
            return this;
        }
    };

    template<uint32_t Size> struct NodeN final : public NodeImpl<NodeN<Size>> {
        NodeN(Node *parent, uint8_t byte) : NodeImpl<NodeN>(parent, byte, Size) {}

        Type &ref(uint32_t index) override {
            KOLM_ASSERT(index < this->length && "RadixMap::NodeN::ref(): invalid index");
            KOLM_ASSERT(data[index] && "RadixMap::NodeN::ref(): pointer is null");
            return *static_cast<Type *>(data[index]);
        }
        Type *get(uint32_t index) override {
            KOLM_ASSERT(index < this->length && "RadixMap::NodeN::get(): invalid index");
            return static_cast<Type *>(data[index]);
        }
        uint8_t get_byte(uint32_t index) const override { return keys[index]; }

        int32_t first() const { return this->length ? 0 : -1; }
        int32_t last() const { return this->length - 1; }
        int32_t before(int32_t i) const { return i - 1; }
        int32_t after(int32_t i) const { return (i + 1 < this->length) ? i + 1 : -1; }
        int32_t locate(uint8_t byte) const {
            const uint32_t i = find_byte<Size>(keys, byte);
            return (i < this->length) ? int32_t(i) : -1;
        }
        void *&at(int32_t i) { return data[i]; }
        void *at(int32_t i) const { return data[i]; }
        int32_t insert(uint8_t byte) {
            int32_t i = this->length++;
            for(; i > 0 && keys[i - 1] > byte; i--) {
                keys[i] = keys[i - 1];
                data[i] = data[i - 1];
            }
            keys[i] = byte;
            return i;
        }
        void erase(int32_t i) {
            this->length--;
            for(; i < this->length; i++) {
                keys[i] = keys[i + 1];
                data[i] = data[i + 1];
            }
        }

        uint8_t keys[Size] = {};
        void *data[Size];
    };

    struct Node64 final : public NodeImpl<Node64>, public Allocated {
        Node64(Node *parent, uint8_t byte) : NodeImpl<Node64>(parent, byte, 64) { memset(keys, Absent, sizeof(keys)); }

        Type &ref(uint32_t index) override {
            KOLM_ASSERT(index < 256 && keys[index] != Absent && "RadixMap::Node64::ref(): invalid index");
            KOLM_ASSERT(data[keys[index]] && "RadixMap::Node64::ref(): pointer is null");
            return *static_cast<Type *>(data[keys[index]]);
        }
        Type *get(uint32_t index) override {
            KOLM_ASSERT(index < 256 && keys[index] != Absent && "RadixMap::Node64::get(): invalid index");
            return static_cast<Type *>(data[keys[index]]);
        }
        uint8_t get_byte(uint32_t index) const override { return uint8_t(index); }

        int32_t first() const { return after(-1); }
        int32_t last() const { return before(256); }
        int32_t before(int32_t i) const {
            while(--i >= 0 && keys[i] == Absent) {}
            return i;
        }
        int32_t after(int32_t i) const {
            while(++i < 256) {
                if(keys[i] != Absent) return i;
            }
            return -1;
        }
        int32_t locate(uint8_t byte) const { return (keys[byte] != Absent) ? byte : -1; }
        void *&at(int32_t i) { return data[keys[i]]; }
        void *at(int32_t i) const { return data[keys[i]]; }
        int32_t insert(uint8_t byte) {
            keys[byte] = uint8_t(this->length++);
            return byte;
        }
        // The last slot moves into the gap, so that the slots in use are the first ones.
        void erase(int32_t i) {
            const uint8_t last = uint8_t(--this->length);
            const uint8_t slot = keys[i];
            keys[i] = Absent;
            if(slot == last) return;
            data[slot] = data[last];
            *static_cast<uint8_t *>(memchr(keys, last, sizeof(keys))) = slot;
        }

        static constexpr uint8_t Absent = 0xFF;
        uint8_t keys[256];
        void *data[64];
    };

    struct Node256 final : public NodeImpl<Node256>, public Allocated {
        Node256(Node *parent, uint8_t byte) : NodeImpl<Node256>(parent, byte, 256) {}

        Type &ref(uint32_t index) override {
            KOLM_ASSERT(data[index & 255] && "RadixMap::Node256::ref(): pointer is null");
            return *static_cast<Type *>(data[index & 255]);
        }
        Type *get(uint32_t index) override { return static_cast<Type *>(data[index & 255]); }
        uint8_t get_byte(uint32_t index) const override { return uint8_t(index); }

        int32_t first() const { return after(-1); }
        int32_t last() const { return before(256); }
        int32_t before(int32_t i) const {
            while(--i >= 0 && data[i] == nullptr) {}
            return i;
        }
        int32_t after(int32_t i) const {
            while(++i < 256) {
                if(data[i]) return i;
            }
            return -1;
        }
        int32_t locate(uint8_t byte) const { return data[byte] ? byte : -1; }
        void *&at(int32_t i) { return data[i]; }
        void *at(int32_t i) const { return data[i]; }
        int32_t insert(uint8_t byte) {
            this->length++;
            return byte;
        }
        void erase(int32_t i) {
            this->length--;
            data[i] = nullptr;
        }

        void *data[256] = {};
    };

    /// Memory of values and of the small kinds: a value lies behind its node if both were made for it.
    struct Pools {
        NodeArena<> arena;
        NodeList<sizeof(Type), alignof(Type)> values;
        NodeList<sizeof(NodeN<4>)> nodes_4;
        NodeList<sizeof(NodeN<16>)> nodes_16;

        void release() {
            arena.release();
            values.clear();
            nodes_4.clear();
            nodes_16.clear();
        }
        void swap(Pools &pools) {
            arena.swap(pools.arena);
            values.swap(pools.values);
            nodes_4.swap(pools.nodes_4);
            nodes_16.swap(pools.nodes_16);
        }
    };

    static Node *create(Pools &pools, Node *parent, uint8_t byte) {
        return new(pools.nodes_4.allocate(pools.arena)) NodeN<4>(parent, byte);
    }
    static void destroy(Pools &pools, Node *node) {
        if(node->capacity == 4) {
            node->~Node();
            pools.nodes_4.free(node);
        } else if(node->capacity == 16) {
            node->~Node();
            pools.nodes_16.free(node);
        } else if(node->capacity == 64) {
            delete static_cast<Node64 *>(node);
        } else {
            delete static_cast<Node256 *>(node);
        }
    }

    /// A node with room for one more entry: the same, or one of the next kind in its place.
    static Node *expand(Pools &pools, Node *node, uint32_t shift) {
        if(KOLM_LIKELY(node->length + 1 != node->capacity) || node->capacity == 256) return node;
        if(node->capacity == 4)
            return replace<NodeN<4>>(pools, node, shift,
                                     new(pools.nodes_16.allocate(pools.arena)) NodeN<16>(node->parent, node->byte));
        if(node->capacity == 16) return replace<NodeN<16>>(pools, node, shift, new Node64(node->parent, node->byte));
        return replace<Node64>(pools, node, shift, new Node256(node->parent, node->byte));
    }
    /// The same node, or one of the next smaller kind in its place.
    static Node *shrink(Pools &pools, Node *node, uint32_t shift) {
        if(node->capacity == 16 && node->length < 4)
            return replace<NodeN<16>>(pools, node, shift,
                                      new(pools.nodes_4.allocate(pools.arena)) NodeN<4>(node->parent, node->byte));
        if(node->capacity == 64 && node->length <= 15)
            return replace<Node64>(pools, node, shift,
                                   new(pools.nodes_16.allocate(pools.arena)) NodeN<16>(node->parent, node->byte));
        if(node->capacity == 256 && node->length <= 63)
            return replace<Node256>(pools, node, shift, new Node64(node->parent, node->byte));
        return node;
    }

private:
    template<class Old, class New> static Node *replace(Pools &pools, Node *node, uint32_t shift, New *other) {
        other->take(static_cast<Old &>(*node), shift);
        destroy(pools, node);
        return other;
    }
};

} // namespace Radix

} // namespace Kolm
