// Sub-allocator of offsets in an abstract range: it manages numbers and owns no memory.
//
// Best fit: free blocks are ordered by size, then by offset. All arithmetic on offsets is done in 64 bits.

#pragma once

#include "KolmMap.h"
#include "KolmSet.h"

namespace Kolm {

/// Not thread-safe: its owner holds a lock. \p Align is the slack that is given away rather than kept as a sliver.
template<uint32_t Align> class HeapPool {
public:
    static constexpr uint32_t InvalidOffset = 0xFFFFFFFF;

    /// Starts with one free block of \p size.
    void init(uint32_t size) {
        KOLM_ASSERT(size && size != InvalidOffset && "HeapPool::init(): invalid size");
        shutdown();
        append_block(0, size);
        capacity = size;
    }
    void shutdown() {
        blocks.clear();
        offsets.clear();
        allocations.clear();
        capacity = 0;
        memory_usage = 0;
    }
    bool isInitialized() const { return capacity != 0; }

    /// Grows the range by \p size at its end. False if the range would pass 32 bits.
    bool append(uint32_t size) {
        KOLM_ASSERT(isInitialized() && "HeapPool::append(): is not initialized");
        if(uint64_t(capacity) + size >= InvalidOffset) return false;
        if(size) merge_block(capacity, size);
        capacity += size;
        return true;
    }

    /// Offset of \p size units, a multiple of \p alignment; InvalidOffset if no block fits. The block that is taken
    /// can be a little larger than the request.
    uint32_t allocate(uint32_t alignment, uint32_t size) {
        KOLM_ASSERT(isInitialized() && "HeapPool::allocate(): is not initialized");
        KOLM_ASSERT(alignment && "HeapPool::allocate(): invalid alignment");
        if(size == 0) return InvalidOffset;
        for(auto it = blocks.findFrom((uint64_t(size) << 32) - 1); it; ++it) {
            uint32_t offset = uint32_t(*it);
            uint32_t length = uint32_t(*it >> 32);
            const uint64_t aligned = get_aligned(offset, alignment);
            const uint64_t padding = aligned - offset;
            if(padding + size > length) continue;
            remove_block(offset, length);
            // Padding goes back first: the test for the last free block below counts it.
            if(padding) append_block(offset, uint32_t(padding));
            offset = uint32_t(aligned);
            length -= uint32_t(padding);
            if(length - size > Align || blocks.empty()) {
                append_block(offset + size, length - size);
                length = size;
            }
            allocations.append(offset, length);
            memory_usage += length;
            return offset;
        }
        return InvalidOffset;
    }

    /// Gives a block back. InvalidOffset is ignored.
    void free(uint32_t offset) {
        if(offset == InvalidOffset) return;
        KOLM_ASSERT(isInitialized() && "HeapPool::free(): is not initialized");
        const uint32_t *found = allocations.get(offset);
        KOLM_ASSERT(found && "HeapPool::free(): invalid memory offset");
        const uint32_t size = *found;
        KOLM_ASSERT(memory_usage >= size && "HeapPool::free(): invalid memory usage");
        allocations.remove(offset);
        memory_usage -= size;
        merge_block(offset, size);
    }

    /// Units in use.
    uint32_t getMemory() const { return memory_usage; }
    uint32_t getCapacity() const { return capacity; }
    uint32_t getAllocations() const { return allocations.size(); }
    /// Number of free blocks.
    uint32_t getBlocks() const { return blocks.size(); }

private:
    Set<uint64_t> blocks;                // free blocks as size << 32 | offset
    Map<uint32_t, uint32_t> offsets;     // free blocks by offset, data is the size
    Map<uint32_t, uint32_t> allocations; // used blocks by offset, data is the size
    uint32_t capacity = 0;
    uint32_t memory_usage = 0;

    static uint64_t get_aligned(uint32_t offset, uint32_t alignment) {
        const uint64_t end = uint64_t(offset) + alignment - 1;
        return is_pow2(alignment) ? end & ~uint64_t(alignment - 1) : end / alignment * alignment;
    }
    void append_block(uint32_t offset, uint32_t size) {
        blocks.append(uint64_t(size) << 32 | offset);
        offsets.append(offset, size);
    }
    void remove_block(uint32_t offset, uint32_t size) {
        blocks.remove(uint64_t(size) << 32 | offset);
        offsets.remove(offset);
    }
    // Enters a free block, joined with the free blocks that touch it.
    void merge_block(uint32_t offset, uint32_t size) {
        // A split of the last free block can leave a block of size 0 that starts where this one does.
        if(const uint32_t *same = offsets.get(offset)) remove_block(offset, *same);
        if(const uint32_t *next = offsets.get(offset + size)) {
            const uint32_t length = *next;
            remove_block(offset + size, length);
            size += length;
        }
        typename Map<uint32_t, uint32_t>::Iterator it = offsets.findFrom(offset);
        auto below = it ? --it : offsets.back();
        if(below && uint64_t(below->key) + below->data == offset) {
            const uint32_t start = below->key;
            const uint32_t length = below->data;
            remove_block(start, length);
            offset = start;
            size += length;
        }
        append_block(offset, size);
    }
};

} // namespace Kolm
