#include "KolmAllocator.h"

#include <stdlib.h>

namespace Kolm {

namespace {

// Room in front of the user's bytes, and that room with the guard byte of a raw block.
constexpr size_t HeaderSize = 16;
constexpr size_t RawSize = HeaderSize + 1;
// Bytes from which a block often grows where it is, or without its pages being copied.
constexpr size_t LargeSize = 16384;

uint8_t get_distance(const void *block) {
    const uint8_t low = uint8_t(uintptr_t(block));
    const uint8_t distance = uint8_t(((low + 15) & 0xF0) - low);
    return distance ? distance : 16; // the usual case: malloc aligns to 16 bytes itself
}

uint8_t *write_header(void *block, uint8_t type) {
    const uint8_t distance = get_distance(block);
    uint8_t *ptr = static_cast<uint8_t *>(block) + distance;
    ptr[-2] = distance;
    ptr[-1] = type;
    return ptr;
}

} // namespace

template<uint32_t Alignment> typename AllocatorImpl<Alignment>::Counters AllocatorImpl<Alignment>::counters;

template<uint32_t Alignment> void *AllocatorImpl<Alignment>::allocate(size_t size) {
    if(size == 0 || size > SIZE_MAX - RawSize) return nullptr;
    void *block = malloc(size + RawSize);
    if(block == nullptr) return nullptr;
    uint8_t *ptr = write_header(block, TypeRaw);
    ptr[size] = TypeRaw;
    counters.memory_usage += int64_t(size);
    counters.num_allocations += 1;
    return ptr;
}

template<uint32_t Alignment> void *AllocatorImpl<Alignment>::allocate(const void *src, size_t size) {
    void *ptr = allocate(size);
    if(ptr) memcpy(ptr, src, size);
    return ptr;
}

template<uint32_t Alignment> void *AllocatorImpl<Alignment>::reallocate(void *data, size_t old_size, size_t new_size) {
    uint8_t *ptr = static_cast<uint8_t *>(data);
    if(ptr == nullptr) return nullptr;
    auto &num_allocations = counters.num_allocations;
    auto &memory_usage = counters.memory_usage;
    KOLM_ASSERT(ptr[-1] == TypeRaw && "Allocator::reallocate(): invalid pointer");
    KOLM_ASSERT(ptr[old_size] == TypeRaw && "Allocator::reallocate(): memory corruption");
    KOLM_ASSERT(num_allocations > 0 && "Allocator::reallocate(): invalid memory allocations");
    KOLM_ASSERT((size_t)memory_usage >= old_size && "Allocator::reallocate(): invalid memory usage");
    void *block = (new_size > SIZE_MAX - RawSize) ? nullptr : realloc(ptr - ptr[-2], new_size + RawSize);
    memory_usage -= int64_t(old_size);
    num_allocations -= 1;
    if(block == nullptr) return nullptr;
    ptr = write_header(block, TypeRaw);
    ptr[new_size] = TypeRaw;
    memory_usage += int64_t(new_size);
    num_allocations += 1;
    return ptr;
}

template<uint32_t Alignment> void AllocatorImpl<Alignment>::free(const void *data, size_t size) {
    const uint8_t *ptr = static_cast<const uint8_t *>(data);
    if(ptr == nullptr) return;
    auto &num_allocations = counters.num_allocations;
    auto &memory_usage = counters.memory_usage;
    KOLM_ASSERT(ptr[-1] == TypeRaw && "Allocator::free(): invalid pointer");
    KOLM_ASSERT(ptr[size] == TypeRaw && "Allocator::free(): memory corruption");
    KOLM_ASSERT(num_allocations > 0 && "Allocator::free(): invalid memory allocations");
    KOLM_ASSERT((size_t)memory_usage >= size && "Allocator::free(): invalid memory usage");
    ::free(const_cast<uint8_t *>(ptr - ptr[-2]));
    memory_usage -= int64_t(size);
    num_allocations -= 1;
}

template<uint32_t Alignment> void *AllocatorImpl<Alignment>::allocate_array(size_t bytes) {
    if(bytes == 0) return nullptr;
    void *block = malloc(bytes + HeaderSize);
    if(block == nullptr) return nullptr;
    counters.memory_usage += int64_t(bytes);
    counters.num_allocations += 1;
    return write_header(block, TypeArray);
}

template<uint32_t Alignment>
void *AllocatorImpl<Alignment>::reallocate_array(void *data, size_t old_bytes, size_t new_bytes, size_t used) {
    check_array(data, old_bytes);
    uint8_t *ptr = static_cast<uint8_t *>(data);
    const uint8_t distance = ptr[-2];
    uint8_t *block;
    if(new_bytes < LargeSize) {
        // The C library would look for room behind the block first.
        block = static_cast<uint8_t *>(malloc(new_bytes + HeaderSize));
        if(block == nullptr) return nullptr;
        memcpy(block + get_distance(block), ptr, used);
        ::free(ptr - distance);
    } else {
        block = static_cast<uint8_t *>(realloc(ptr - distance, new_bytes + HeaderSize));
        if(block == nullptr) return nullptr;
        const uint8_t new_distance = get_distance(block);
        if(new_distance != distance) memmove(block + new_distance, block + distance, used);
    }
    counters.memory_usage += int64_t(new_bytes) - int64_t(old_bytes);
    return write_header(block, TypeArray);
}

template<uint32_t Alignment> void AllocatorImpl<Alignment>::check_array(const void *data, size_t size) {
    const uint8_t *ptr = static_cast<const uint8_t *>(data);
    // Plain loads: a short array that grows would spend most of its time in locked ones.
    KOLM_ASSERT(ptr[-1] == TypeArray && "Allocator::freeArray(): invalid pointer");
    KOLM_ASSERT(counters.num_allocations.load() > 0 && "Allocator::freeArray(): invalid memory allocations");
    KOLM_ASSERT((size_t)counters.memory_usage.load() >= size && "Allocator::freeArray(): invalid memory usage");
}

template<uint32_t Alignment> void AllocatorImpl<Alignment>::free_array(const void *data, size_t bytes) {
    const uint8_t *ptr = static_cast<const uint8_t *>(data);
    ::free(const_cast<uint8_t *>(ptr - ptr[-2]));
    counters.memory_usage -= int64_t(bytes);
    counters.num_allocations -= 1;
}

template class AllocatorImpl<16>;

} // namespace Kolm
