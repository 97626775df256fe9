#include <core/OstrevanAllocator.h>

#include "KolmAllocator.h"

namespace Ostrevan {

namespace {

// The parts of the array forms, whose element types only the application knows.
struct CoreAllocator : Kolm::Allocator {
    using Kolm::Allocator::allocate_array;
    using Kolm::Allocator::check_array;
    using Kolm::Allocator::free_array;
    using Kolm::Allocator::reallocate_array;
};

} // namespace

void *Allocator::allocate(size_t size) { return Kolm::Allocator::allocate(size); }
void *Allocator::allocate(const void *src, size_t size) { return Kolm::Allocator::allocate(src, size); }
void *Allocator::reallocate(void *ptr, size_t old_size, size_t new_size) {
    return Kolm::Allocator::reallocate(ptr, old_size, new_size);
}
void Allocator::free(const void *ptr, size_t size) { Kolm::Allocator::free(ptr, size); }

size_t Allocator::getMemory() { return Kolm::Allocator::getMemory(); }
size_t Allocator::getAllocations() { return Kolm::Allocator::getAllocations(); }

void *Allocator::allocate_array(size_t bytes) { return CoreAllocator::allocate_array(bytes); }
void *Allocator::reallocate_array(void *ptr, size_t old_bytes, size_t new_bytes, size_t used) {
    return CoreAllocator::reallocate_array(ptr, old_bytes, new_bytes, used);
}
void Allocator::check_array(const void *ptr, size_t bytes) { CoreAllocator::check_array(ptr, bytes); }
void Allocator::free_array(const void *ptr, size_t bytes) { CoreAllocator::free_array(ptr, bytes); }

} // namespace Ostrevan
