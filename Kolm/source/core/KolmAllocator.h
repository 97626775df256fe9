// The checked allocator through which all dynamic memory of the library passes.
//
//     malloc block        ptr - distance     ptr-2      ptr-1      ptr            ptr+size
//     raw block           ...unused...       distance   0x9C       user bytes     0x9C guard
//     typed array         ...unused...       distance   0x52       elements
//
// The distance from the block's start to ptr is 1 to 16, so that ptr is aligned and the two header bytes fit. The size
// is not stored: `free` takes it, and the guard byte catches a wrong one.

#pragma once

#include "KolmAtomic.h"

namespace Kolm {

/// Checked memory with process-wide counters. All members are static and may be called from any thread.
/// A block that was damaged, comes from elsewhere or is given back with a wrong size ends the process.
template<uint32_t Alignment> class AllocatorImpl {
    static_assert(Alignment == 16, "the distance byte is laid out for 16");

public:
    static constexpr uint8_t TypeRaw = 0x9C;
    static constexpr uint8_t TypeArray = 0x52;

    /// Bytes that are aligned to 16; null for a size of 0 and when memory runs out.
    static void *allocate(size_t size);
    /// The same, filled with \p size bytes of \p src.
    static void *allocate(const void *src, size_t size);
    /// Grows or shrinks a block of \p old_size bytes. Null \p ptr gives null: nothing is allocated from nothing.
    /// Null for want of memory leaves the old block allocated.
    static void *reallocate(void *ptr, size_t old_size, size_t new_size);
    /// Gives \p size bytes back. Null is ignored.
    static void free(const void *ptr, size_t size);

    /// \p count default-constructed elements; null for 0 and when memory runs out.
    template<class Type> static Type *allocate(size_t count) {
        static_assert(alignof(Type) <= Alignment, "element types are aligned to 16 bytes at most");
        if(count > (SIZE_MAX - Alignment) / sizeof(Type)) return nullptr;
        Type *ptr = static_cast<Type *>(allocate_array(sizeof(Type) * count));
        if(ptr == nullptr) return nullptr;
        if constexpr(!std::is_trivially_default_constructible_v<Type>) {
            for(size_t i = 0; i < count; i++) new(ptr + i) Type();
        }
        return ptr;
    }
    /// Destroys \p count elements and gives their memory back. Null is ignored.
    template<class Type> static void freeArray(Type *ptr, size_t count) {
        if(ptr == nullptr) return;
        check_array(ptr, sizeof(Type) * count);
        if constexpr(!std::is_trivially_destructible_v<Type>) {
            for(size_t i = 0; i < count; i++) ptr[i].~Type();
        }
        free_array(ptr, sizeof(Type) * count);
    }

    /// Grows or shrinks an array of plain elements, of which the first \p used are kept and the others not set. Cheaper
    /// than two calls. Null for want of memory leaves the old array allocated.
    template<class Type> static Type *reallocateArray(Type *ptr, size_t old_count, size_t new_count, size_t used) {
        static_assert(std::is_trivially_copyable_v<Type> && std::is_trivially_default_constructible_v<Type>,
                      "only plain elements move as bytes");
        if(ptr == nullptr) return allocate<Type>(new_count);
        if(new_count == 0 || new_count > (SIZE_MAX - Alignment) / sizeof(Type)) return nullptr;
        KOLM_ASSERT(used <= old_count && used <= new_count && "Allocator::reallocateArray(): invalid size");
        return static_cast<Type *>(
            reallocate_array(ptr, sizeof(Type) * old_count, sizeof(Type) * new_count, sizeof(Type) * used));
    }

    /// Bytes that are allocated now.
    static size_t getMemory() { return size_t(int64_t(counters.memory_usage)); }
    /// Blocks that are allocated now.
    static size_t getAllocations() { return size_t(int32_t(counters.num_allocations)); }

protected:
    // The two counters change on every call, from any thread: each has a cache line of its own.
    struct Counters {
        alignas(64) Atomici64 memory_usage;
        alignas(64) Atomici32 num_allocations;
    };
    static Counters counters;

    static void *allocate_array(size_t bytes);
    static void *reallocate_array(void *ptr, size_t old_bytes, size_t new_bytes, size_t used);
    static void check_array(const void *ptr, size_t bytes);
    static void free_array(const void *ptr, size_t bytes);
};

extern template class AllocatorImpl<16>;

using Allocator = AllocatorImpl<16>;

/// Base of classes whose single objects come from the checked allocator and so show in its counters.
/// `new` yields null when memory runs out.
class Allocated {
public:
    static void *operator new(size_t size) noexcept { return Allocator::allocate(size); }
    static void operator delete(void *ptr, size_t size) { Allocator::free(ptr, size); }
    static void *operator new(size_t, void *place) noexcept { return place; }
    static void operator delete(void *, void *) {}
};

} // namespace Kolm
