// Bump allocator for many small objects that die together.

#pragma once

#include "KolmAllocator.h"

namespace Kolm {

/// Gives out runs of elements from blocks; nothing is given back singly. Only the newest block is tried, what is left
/// in older ones is abandoned.
template<class Type, class Alloc = Allocator> class BlockAllocator : private NoCopy {
public:
    /// \p capacity is the size of a block in elements.
    explicit BlockAllocator(size_t capacity) : capacity(capacity) {}
    ~BlockAllocator() { free(); }

    /// \p count default-constructed elements; null when memory runs out.
    Type *allocate(size_t count) {
        if(root_pool == nullptr || count > root_pool->capacity - root_pool->offset) {
            if(count > SIZE_MAX / 2) return nullptr;
            const size_t size = (capacity > count) ? capacity : count * 2;
            Type *data = Alloc::template allocate<Type>(size);
            if(data == nullptr) return nullptr;
            BlockPool *pool = new BlockPool();
            if(pool == nullptr) {
                Alloc::freeArray(data, size);
                return nullptr;
            }
            pool->capacity = size;
            pool->data = data;
            pool->next = root_pool;
            root_pool = pool;
        }
        Type *ptr = root_pool->data + root_pool->offset;
        root_pool->offset += count;
        return ptr;
    }
    /// Destroys all elements.
    void free() {
        while(root_pool) {
            BlockPool *pool = root_pool;
            root_pool = pool->next;
            Alloc::freeArray(pool->data, pool->capacity);
            delete pool;
        }
    }
    /// Bytes of all blocks.
    size_t memory() const {
        size_t size = 0;
        for(const BlockPool *pool = root_pool; pool; pool = pool->next) size += sizeof(Type) * pool->capacity;
        return size;
    }

private:
    struct BlockPool : public Allocated {
        size_t offset = 0; // elements used
        size_t capacity = 0;
        Type *data = nullptr;
        BlockPool *next = nullptr;
    };

    size_t capacity;
    BlockPool *root_pool = nullptr;
};

} // namespace Kolm
