#include "OstrevanPrefixScanKolm.h"

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
Kolm::PrefixScan::Flags get_flags(PrefixScan::Flags flags) { return static_cast<Kolm::PrefixScan::Flags>(flags); }
Kolm::PrefixScan::Mode get_mode(PrefixScan::Mode mode) { return static_cast<Kolm::PrefixScan::Mode>(mode); }

} // namespace

OSTREVAN_HANDLE_SOURCE(PrefixScan, Noncopyable)

PrefixScan::PrefixScan() : PrefixScan(VoidImpl()) {}

bool PrefixScan::create(const Device &device, Mode mode, uint32_t groups, uint32_t regions, Async *async) {
    return impl().ref().create(get_device(device), get_mode(mode), groups, regions, getAsync(async));
}
bool PrefixScan::create(const Device &device, Flags flags, uint32_t groups, uint32_t regions, Async *async) {
    return impl().ref().create(get_device(device), get_flags(flags), groups, regions, getAsync(async));
}
void PrefixScan::clear() { impl().ref().clear(); }
bool PrefixScan::isCreated(Flags flags) const { return impl().isValid() && impl().ref().isCreated(get_flags(flags)); }

uint32_t PrefixScan::getGroupSize() const { return impl().ref().getGroupSize(); }
uint32_t PrefixScan::getScanElements() const { return impl().ref().getScanElements(); }
uint32_t PrefixScan::getMaxElements() const { return impl().ref().getMaxElements(); }
uint32_t PrefixScan::getMaxRegions() const { return impl().ref().getMaxRegions(); }

bool PrefixScan::dispatch(Compute &compute, const Buffer &data, uint32_t offset, uint32_t size) {
    return impl().ref().dispatch(get_compute(compute), get_buffer(data), offset, size);
}
bool PrefixScan::dispatch(Compute &compute, const Buffer &data, uint32_t num_regions, const uint32_t *offsets,
                          const uint32_t *sizes, Flags flags) {
    return impl().ref().dispatch(get_compute(compute), get_buffer(data), num_regions, offsets, sizes, get_flags(flags));
}
bool PrefixScan::dispatchIndirect(Compute &compute, const Buffer &data, const Buffer &dispatch,
                                  uint32_t dispatch_offset, Flags flags, uint32_t max_size) {
    return impl().ref().dispatchIndirect(get_compute(compute), get_buffer(data), get_buffer(dispatch), dispatch_offset,
                                         get_flags(flags), max_size);
}
bool PrefixScan::dispatchIndirect(Compute &compute, const Buffer &data, uint32_t count, const Buffer &dispatch,
                                  uint32_t dispatch_offset, Flags flags, uint32_t max_size) {
    return impl().ref().dispatchIndirect(get_compute(compute), get_buffer(data), count, get_buffer(dispatch),
                                         dispatch_offset, get_flags(flags), max_size);
}
bool PrefixScan::dispatchIndirect(Compute &compute, const Buffer &data, const Buffer &dispatch, const Buffer &count,
                                  uint32_t dispatch_offset, uint32_t count_offset, Flags flags, uint32_t max_size) {
    return impl().ref().dispatchIndirect(get_compute(compute), get_buffer(data), get_buffer(dispatch),
                                         get_buffer(count), dispatch_offset, count_offset, get_flags(flags), max_size);
}

} // namespace Ostrevan
