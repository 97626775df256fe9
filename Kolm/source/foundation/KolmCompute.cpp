// KolmCompute.cpp: the short forms of the compute recorder.

#include "KolmCompute.h"

#include "KolmSize.h"

namespace Kolm {

namespace {

// The operations take pointers to pointers that they do not write.
Buffer **get_list(const std::initializer_list<Buffer *> &list) { return const_cast<Buffer **>(list.begin()); }

} // namespace

void Compute::setUniformBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers) {
    setUniformBuffers(index, get_list(buffers), uint32_t(buffers.size()));
}

void Compute::setUniformBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers,
                                const std::initializer_list<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Compute::setUniformBuffers(): invalid number of offsets");
    setUniformBuffers(index, get_list(buffers), uint32_t(buffers.size()), offsets.begin());
}

void Compute::setStorageBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers) {
    setStorageBuffers(index, get_list(buffers), uint32_t(buffers.size()));
}

void Compute::setStorageBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers,
                                const std::initializer_list<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Compute::setStorageBuffers(): invalid number of offsets");
    setStorageBuffers(index, get_list(buffers), uint32_t(buffers.size()), offsets.begin());
}

void Compute::setTexelBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers) {
    setTexelBuffers(index, get_list(buffers), uint32_t(buffers.size()));
}

void Compute::dispatch(const Size &size) { dispatch(size.width, size.height, size.depth); }

void Compute::barrier(const std::initializer_list<Buffer *> &buffers) {
    barrier(get_list(buffers), uint32_t(buffers.size()));
}

bool Compute::setBuffer(Buffer *buffer, const void *src, size_t size) { return setBuffer(buffer, 0, src, size); }

bool Compute::setBuffer(Buffer *buffer, const void *src) {
    KOLM_ASSERT(buffer && "Compute::setBuffer(): buffer is null");
    return setBuffer(buffer, 0, src, buffer->getSize());
}

bool Compute::copyBuffer(Buffer *dest, Buffer *src, size_t size) { return copyBuffer(dest, 0, src, 0, size); }

bool Compute::copyBuffer(Buffer *dest, Buffer *src) {
    KOLM_ASSERT(src && "Compute::copyBuffer(): src buffer is null");
    return copyBuffer(dest, 0, src, 0, src->getSize());
}

bool Compute::clearBuffer(Buffer *buffer, Format format, const void *value, size_t size) {
    return clearBuffer(buffer, format, 0, value, size);
}

bool Compute::clearBuffer(Buffer *buffer, Format format, const void *value) {
    KOLM_ASSERT(buffer && "Compute::clearBuffer(): buffer is null");
    return clearBuffer(buffer, format, 0, value, buffer->getSize());
}

bool Compute::clearBuffer(Buffer *buffer) { return clearBuffer(buffer, FormatUnknown, nullptr); }

} // namespace Kolm
