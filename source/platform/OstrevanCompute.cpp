#include "OstrevanComputeKolm.h"

#include "OstrevanBufferKolm.h"
#include "OstrevanKernelKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

namespace {

// Handles of one call: no kernel has more slots of a kind, and a barrier takes as many as an array on the stack holds.
constexpr uint32_t max_buffers = 128;

Kolm::Buffer *get_buffer(const Buffer &buffer) { return getCore<Kolm::Buffer *>(buffer); }

} // namespace

OSTREVAN_HANDLE_SOURCE(Compute, Noncopyable)

Compute::Compute() : Compute(VoidImpl()) {}

Platform Compute::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Compute::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Compute::getIndex() const { return impl().ref().getIndex(); }

void Compute::setKernel(const Kernel &kernel) { impl().ref().setKernel(getCore<Kolm::Kernel *>(kernel)); }
Kernel Compute::getKernel() const { return TS<Kernel>(impl().ref().getKernel()); }

void *Compute::getUniformData(uint32_t index, size_t size) { return impl().ref().getUniformData(index, size); }
void Compute::setUniformData(uint32_t index, const void *src, size_t size) {
    impl().ref().setUniformData(index, src, size);
}
void Compute::setUniformBuffer(uint32_t index, const Buffer &buffer, size_t offset, size_t size) {
    impl().ref().setUniformBuffer(index, get_buffer(buffer), offset, size);
}
void Compute::setUniformBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers) {
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setUniformBuffers(index, list, num);
}
void Compute::setUniformBuffers(uint32_t index, const Array<Buffer> &buffers) {
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setUniformBuffers(index, list, num);
}
void Compute::setUniformBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                                const std::initializer_list<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Compute::setUniformBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setUniformBuffers(index, list, num, offsets.begin());
}
void Compute::setUniformBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Compute::setUniformBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setUniformBuffers(index, list, num, offsets.get());
}
void Compute::setUniformOffset(uint32_t index, size_t offset, bool relative) {
    impl().ref().setUniformOffset(index, offset, relative);
}
void *Compute::getStorageData(uint32_t index, size_t size) { return impl().ref().getStorageData(index, size); }
void Compute::setStorageData(uint32_t index, const void *src, size_t size) {
    impl().ref().setStorageData(index, src, size);
}
void Compute::setStorageBuffer(uint32_t index, const Buffer &buffer, size_t offset, size_t size) {
    impl().ref().setStorageBuffer(index, get_buffer(buffer), offset, size);
}
void Compute::setStorageBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers) {
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setStorageBuffers(index, list, num);
}
void Compute::setStorageBuffers(uint32_t index, const Array<Buffer> &buffers) {
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setStorageBuffers(index, list, num);
}
void Compute::setStorageBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                                const std::initializer_list<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Compute::setStorageBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setStorageBuffers(index, list, num, offsets.begin());
}
void Compute::setStorageBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Compute::setStorageBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setStorageBuffers(index, list, num, offsets.get());
}
void Compute::setStorageOffset(uint32_t index, size_t offset, bool relative) {
    impl().ref().setStorageOffset(index, offset, relative);
}
void Compute::setTexelBuffer(uint32_t index, const Buffer &buffer) {
    impl().ref().setTexelBuffer(index, get_buffer(buffer));
}
void Compute::setTexelBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers) {
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setTexelBuffers(index, list, num);
}
void Compute::setTexelBuffers(uint32_t index, const Array<Buffer> &buffers) {
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setTexelBuffers(index, list, num);
}
void *Compute::getIndirectData(size_t size) { return impl().ref().getIndirectData(size); }
void Compute::setIndirectData(const void *src, size_t size) { impl().ref().setIndirectData(src, size); }
void Compute::setIndirectBuffer(const Buffer &buffer, size_t offset) {
    impl().ref().setIndirectBuffer(get_buffer(buffer), offset);
}
void Compute::setIndirectOffset(size_t offset, bool relative) { impl().ref().setIndirectOffset(offset, relative); }
void Compute::dispatch(uint32_t width, uint32_t height, uint32_t depth) { impl().ref().dispatch(width, height, depth); }
void Compute::dispatch(const Size &size) { impl().ref().dispatch(getCore(size)); }
void Compute::dispatchIndirect() { impl().ref().dispatchIndirect(); }
bool Compute::setBuffer(const Buffer &buffer, size_t offset, const void *src, size_t size) {
    return impl().ref().setBuffer(get_buffer(buffer), offset, src, size);
}
bool Compute::setBuffer(const Buffer &buffer, const void *src, size_t size) {
    return impl().ref().setBuffer(get_buffer(buffer), src, size);
}
bool Compute::setBuffer(const Buffer &buffer, const void *src) {
    return impl().ref().setBuffer(get_buffer(buffer), src);
}
bool Compute::copyBuffer(const Buffer &dest, size_t dest_offset, const Buffer &src, size_t src_offset, size_t size) {
    return impl().ref().copyBuffer(get_buffer(dest), dest_offset, get_buffer(src), src_offset, size);
}
bool Compute::copyBuffer(const Buffer &dest, const Buffer &src, size_t size) {
    return impl().ref().copyBuffer(get_buffer(dest), get_buffer(src), size);
}
bool Compute::copyBuffer(const Buffer &dest, const Buffer &src) {
    return impl().ref().copyBuffer(get_buffer(dest), get_buffer(src));
}
bool Compute::clearBuffer(const Buffer &buffer, Format format, size_t offset, const void *value, size_t size) {
    return impl().ref().clearBuffer(get_buffer(buffer), getCore(format), offset, value, size);
}
bool Compute::clearBuffer(const Buffer &buffer, Format format, const void *value, size_t size) {
    return impl().ref().clearBuffer(get_buffer(buffer), getCore(format), value, size);
}
bool Compute::clearBuffer(const Buffer &buffer, Format format, const void *value) {
    return impl().ref().clearBuffer(get_buffer(buffer), getCore(format), value);
}
bool Compute::clearBuffer(const Buffer &buffer) { return impl().ref().clearBuffer(get_buffer(buffer)); }
void Compute::barrier(const Buffer &buffer) { impl().ref().barrier(get_buffer(buffer)); }
void Compute::barrier(const std::initializer_list<Buffer> &buffers) {
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyList(list, buffers);
    impl().ref().barrier(list, num);
}
void Compute::barrier(const Array<Buffer> &buffers) {
    Kolm::Array<Kolm::Buffer *> list = copyArray<Kolm::Buffer *>(buffers);
    impl().ref().barrier(list.get(), list.size());
}
void Compute::beginConditional(const Buffer &buffer, size_t offset) {
    impl().ref().beginConditional(get_buffer(buffer), offset);
}
void Compute::endConditional() { impl().ref().endConditional(); }

} // namespace Ostrevan
