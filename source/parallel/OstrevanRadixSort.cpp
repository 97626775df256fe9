#include "OstrevanRadixSortKolm.h"

#include "OstrevanAsyncKolm.h"
#include "OstrevanBufferKolm.h"
#include "OstrevanComputeKolm.h"
#include "OstrevanDeviceKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

namespace {

Kolm::Device *get_device(const Device &device) { return getCore<Kolm::Device *>(device); }
Kolm::Compute *get_compute(const Compute &compute) { return getCore<Kolm::Compute *>(compute); }
Kolm::Buffer *get_buffer(const Buffer &buffer) { return getCore<Kolm::Buffer *>(buffer); }
Kolm::RadixSort::Flags get_flags(RadixSort::Flags flags) { return static_cast<Kolm::RadixSort::Flags>(flags); }
Kolm::RadixSort::Mode get_mode(RadixSort::Mode mode) { return static_cast<Kolm::RadixSort::Mode>(mode); }

} // namespace

OSTREVAN_HANDLE_SOURCE(RadixSort, Noncopyable)

RadixSort::RadixSort() : RadixSort(VoidImpl()) {}

bool RadixSort::create(const Device &device, Mode mode, PrefixScan &prefix_scan, uint32_t size, uint32_t groups,
                       uint32_t regions, Async *async) {
    return impl().ref().create(get_device(device), get_mode(mode), &prefix_scan.impl().ref(), size, groups, regions,
                               getAsync(async));
}
bool RadixSort::create(const Device &device, Flags flags, PrefixScan &prefix_scan, uint32_t size, uint32_t groups,
                       uint32_t regions, Async *async) {
    return impl().ref().create(get_device(device), get_flags(flags), &prefix_scan.impl().ref(), size, groups, regions,
                               getAsync(async));
}
void RadixSort::clear() { impl().ref().clear(); }
bool RadixSort::isCreated(Flags flags) const { return impl().isValid() && impl().ref().isCreated(get_flags(flags)); }

uint32_t RadixSort::getDataSize() const { return impl().ref().getDataSize(); }
uint32_t RadixSort::getGroupSize() const { return impl().ref().getGroupSize(); }
uint32_t RadixSort::getSortElements() const { return impl().ref().getSortElements(); }
uint32_t RadixSort::getUpdateElements() const { return impl().ref().getUpdateElements(); }
uint32_t RadixSort::getMaxElements() const { return impl().ref().getMaxElements(); }
uint32_t RadixSort::getMaxRegions() const { return impl().ref().getMaxRegions(); }
PrefixScan RadixSort::getPrefixScan() const { return TS<PrefixScan>(impl().ref().getPrefixScan()); }
Buffer RadixSort::getDataBuffer() const { return TS<Buffer>(impl().ref().getDataBuffer()); }

bool RadixSort::dispatch(Compute &compute, const Buffer &data, uint32_t keys_offset, uint32_t data_offset,
                         uint32_t size, Flags flags, uint32_t bits) {
    return impl().ref().dispatch(get_compute(compute), get_buffer(data), keys_offset, data_offset, size,
                                 get_flags(flags), bits);
}
bool RadixSort::dispatch(Compute &compute, const Buffer &data, uint32_t num_regions, const uint32_t *keys_offsets,
                         const uint32_t *data_offsets, const uint32_t *sizes, Flags flags, uint32_t bits) {
    return impl().ref().dispatch(get_compute(compute), get_buffer(data), num_regions, keys_offsets, data_offsets, sizes,
                                 get_flags(flags), bits);
}
bool RadixSort::dispatchIndirect(Compute &compute, const Buffer &data, const Buffer &dispatch, uint32_t dispatch_offset,
                                 Flags flags, uint32_t bits, uint32_t max_size) {
    return impl().ref().dispatchIndirect(get_compute(compute), get_buffer(data), get_buffer(dispatch), dispatch_offset,
                                         get_flags(flags), bits, max_size);
}
bool RadixSort::dispatchIndirect(Compute &compute, const Buffer &data, uint32_t count, const Buffer &dispatch,
                                 uint32_t dispatch_offset, Flags flags, uint32_t bits, uint32_t max_size) {
    return impl().ref().dispatchIndirect(get_compute(compute), get_buffer(data), count, get_buffer(dispatch),
                                         dispatch_offset, get_flags(flags), bits, max_size);
}
bool RadixSort::dispatchIndirect(Compute &compute, const Buffer &data, const Buffer &dispatch, const Buffer &count,
                                 uint32_t dispatch_offset, uint32_t count_offset, Flags flags, uint32_t bits,
                                 uint32_t max_size) {
    return impl().ref().dispatchIndirect(get_compute(compute), get_buffer(data), get_buffer(dispatch),
                                         get_buffer(count), dispatch_offset, count_offset, get_flags(flags), bits,
                                         max_size);
}

} // namespace Ostrevan
