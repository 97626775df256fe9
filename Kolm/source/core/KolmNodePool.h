// Memory for the nodes of one container.
//
// A node costs its own size: no header, no guard, no locked counter. Nodes of all sizes come one behind the other from
// blocks that double up to 64 KiB, so that what is made together lies together. What is given back goes to a list of its
// size and is used again first. The blocks go when the arena is released, which the owner does when its last node is
// gone. Under the address sanitizer a node that was given back may not be touched.

#pragma once

#include "KolmAllocator.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KOLM_NODE_POOL_ASAN
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define KOLM_NODE_POOL_ASAN
#endif
#if defined(KOLM_NODE_POOL_ASAN)
#include <sanitizer/asan_interface.h>
#define KOLM_NODE_POISON(PTR, SIZE) __asan_poison_memory_region(PTR, SIZE)
#define KOLM_NODE_UNPOISON(PTR, SIZE) __asan_unpoison_memory_region(PTR, SIZE)
#else
#define KOLM_NODE_POISON(PTR, SIZE) ((void)0)
#define KOLM_NODE_UNPOISON(PTR, SIZE) ((void)0)
#endif

namespace Kolm {

/// Blocks of memory, given out piece by piece and given back as a whole. Not thread-safe.
template<class Alloc = Allocator> class NodeArena : private NoCopy {
public:
    NodeArena() = default;
    ~NodeArena() { release(); }

    /// \p size bytes, a multiple of 8; null when memory runs out. Aligned to \p alignment, 8 or 16.
    void *allocate(uint32_t size, uint32_t alignment) {
        uint32_t offset = block ? (block->used + alignment - 1) & ~(alignment - 1) : 0;
        if(KOLM_UNLIKELY(block == nullptr || size > block->size - min(offset, block->size))) {
            if(!append_block(size)) return nullptr;
            offset = block->used;
        }
        uint8_t *ptr = reinterpret_cast<uint8_t *>(block) + offset;
        block->used = offset + size;
        KOLM_NODE_UNPOISON(ptr, size);
        return ptr;
    }
    void release() {
        while(block) {
            Block *next = block->next;
            KOLM_NODE_UNPOISON(block + 1, block->size - sizeof(Block));
            Alloc::free(block, block->size);
            block = next;
        }
    }
    void swap(NodeArena &arena) { Kolm::swap(block, arena.block); }
    /// Bytes of all blocks.
    size_t memory() const {
        size_t size = 0;
        for(const Block *b = block; b; b = b->next) size += b->size;
        return size;
    }

private:
    struct Block {
        Block *next;
        uint32_t size; // bytes, these fields counted
        uint32_t used;
    };
    static constexpr uint32_t MaxSize = 0x10000;

    __attribute__((noinline)) bool append_block(uint32_t size) {
        const uint32_t usual = block ? min(block->size * 2, MaxSize) : uint32_t(sizeof(Block)) + size * 2;
        const uint32_t bytes = max(usual, uint32_t(sizeof(Block)) + size);
        Block *b = static_cast<Block *>(Alloc::allocate(bytes));
        if(b == nullptr) return false;
        *b = {block, bytes, uint32_t(sizeof(Block))};
        KOLM_NODE_POISON(b + 1, bytes - sizeof(Block));
        block = b;
        return true;
    }

    Block *block = nullptr; // the newest, from which nodes are taken
};

/// Nodes of one size that were given back to an arena.
template<size_t NodeSize, uint32_t Alignment = 8> class NodeList {
public:
    static constexpr uint32_t Size = uint32_t((NodeSize + 7) & ~size_t(7));
    static_assert(Alignment <= 16, "nodes are aligned to 16 bytes at most");

    /// Memory of one node; null when memory runs out.
    template<class Arena> void *allocate(Arena &arena) {
        if(nodes == nullptr) return arena.allocate(Size, (Alignment > 8) ? 16 : 8);
        FreeNode *node = nodes;
        KOLM_NODE_UNPOISON(node, Size);
        nodes = node->next;
        return node;
    }
    /// Gives back a node whose object was destroyed.
    void free(void *ptr) {
        FreeNode *node = static_cast<FreeNode *>(ptr);
        node->next = nodes;
        nodes = node;
        KOLM_NODE_POISON(node, Size);
    }
    /// Forgets all nodes: the arena was released.
    void clear() { nodes = nullptr; }
    void swap(NodeList &list) { Kolm::swap(nodes, list.nodes); }

private:
    struct FreeNode {
        FreeNode *next;
    };
    FreeNode *nodes = nullptr;
};

} // namespace Kolm
