// Blocks of equal objects, for classes of which a process makes very many.
//
//     block    counters | slot | slot | ...
//     slot     its number, the next free slot | object
//
// An object of any age can be deleted: the number in front of it leads to its block, and a block without objects is
// given back. Hides which blocks have room; the list of them has one lock for all threads.

#pragma once

#include "KolmAllocator.h"

namespace Kolm {

/// Base of \p Type, whose objects then come from blocks of \p Size. `new` yields null when memory runs out. Objects may
/// be made and deleted on any thread; arrays of them and objects inside others are no concern of the blocks.
template<class Type, uint32_t Size> class SmallAllocator {
    struct Slot;
    struct Block;

public:
    static void *operator new(size_t size) noexcept {
        KOLM_ASSERT(size == sizeof(Type) && "SmallAllocator::new(): invalid size");
        Batch batch;
        return batch.allocate();
    }
    static void operator delete(void *ptr) noexcept {
        if(ptr) Batch().free(ptr);
    }
    static void *operator new(size_t, void *place) noexcept { return place; }
    static void operator delete(void *, void *) noexcept {}

    /// Takes and gives slots by the run, for one thread: the lock is taken once for many of them. What was not used goes
    /// back with the batch.
    class Batch : private NoCopy {
    public:
        Batch() = default;
        ~Batch() {
            give_back();
            flush();
        }

        /// Memory for one object; null when memory runs out.
        void *allocate() {
            if(KOLM_UNLIKELY(pos == end) && !claim()) return nullptr;
            Slot *slot = pos++;
            slot->index = index++;
            return slot->data;
        }
        /// Memory of an object whose destructor has run.
        void free(void *ptr) {
            Slot *slot = get_slot(ptr);
            Block *slot_block = get_block(slot, slot->index);
            if(KOLM_UNLIKELY(slot_block != free_block)) {
                flush();
                free_block = slot_block;
                free_last = slot->index;
                slot->next = None;
            } else {
                slot->next = free_first;
            }
            free_first = slot->index;
            free_num++;
        }

    private:
        bool claim() {
            AtomicLock guard(lock);
            if(blocks == nullptr && !create()) return false;
            Block *block = blocks;
            if(block->used < Size) {
                pos = block->slots + block->used;
                end = block->slots + Size;
                block->live += Size - block->used;
                index = block->used;
                block->used = Size;
            } else {
                index = block->first;
                pos = block->slots + index;
                end = pos + 1;
                block->first = pos->next;
                block->live++;
            }
            if(block->first == None) unlink(block);
            return true;
        }
        void give_back() {
            if(pos == end) return;
            // Only a run at the end of a block can be left over.
            AtomicLock guard(lock);
            Block *block = get_block(pos, index);
            block->used = index;
            release(block, uint32_t(end - pos));
        }
        void flush() {
            if(free_block == nullptr) return;
            AtomicLock guard(lock);
            free_block->slots[free_last].next = free_block->first;
            free_block->first = free_first;
            release(free_block, free_num);
            free_block = nullptr;
            free_num = 0;
        }

        Slot *pos = nullptr, *end = nullptr; // run that is this batch's
        uint32_t index = 0;                  // of pos
        Block *free_block = nullptr;         // where the slots to give back lie
        uint32_t free_first = None, free_last = None, free_num = 0;
    };

private:
    static constexpr uint32_t None = 0xFFFFFFFF;

    struct Slot {
        uint32_t index; // in the block
        uint32_t next;  // free slot behind this one
        alignas(8) char data[sizeof(Type)];
    };
    struct Block {
        Block *prev, *next; // among the blocks with room
        bool linked;
        uint32_t used;  // slots from here on were never used
        uint32_t first; // free slot among the others
        uint32_t live;  // slots that are in use or claimed
        Slot slots[Size];
    };

    static Slot *get_slot(void *ptr) {
        static_assert(alignof(Type) <= 8);
        return reinterpret_cast<Slot *>(static_cast<char *>(ptr) - offsetof(Slot, data));
    }
    static Block *get_block(Slot *slot, uint32_t index) {
        return reinterpret_cast<Block *>(reinterpret_cast<char *>(slot - index) - offsetof(Block, slots));
    }

    static bool create() {
        Block *block = static_cast<Block *>(Allocator::allocate(sizeof(Block)));
        if(block == nullptr) return false;
        block->linked = false;
        block->used = 0;
        block->first = None;
        block->live = 0;
        link(block);
        return true;
    }
    static void link(Block *block) {
        block->prev = nullptr;
        block->next = blocks;
        if(blocks) blocks->prev = block;
        blocks = block;
        block->linked = true;
    }
    static void unlink(Block *block) {
        (block->prev ? block->prev->next : blocks) = block->next;
        if(block->next) block->next->prev = block->prev;
        block->linked = false;
    }
    static void release(Block *block, uint32_t num) {
        block->live -= num;
        if(block->live) {
            if(!block->linked) link(block);
            return;
        }
        if(block->linked) unlink(block);
        Allocator::free(block, sizeof(Block));
    }

    static inline constinit SpinLock lock;
    static inline constinit Block *blocks = nullptr; // with room
};

} // namespace Kolm
