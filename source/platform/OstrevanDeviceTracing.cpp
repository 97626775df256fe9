// Acceleration structures of the public device.

#include "OstrevanBufferKolm.h"
#include "OstrevanDeviceKolm.h"
#include "OstrevanTracingKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

namespace {

Kolm::Tracing *get_tracing(const Tracing &tracing) { return getCore<Kolm::Tracing *>(tracing); }
Kolm::Buffer *get_buffer(const Buffer &buffer) { return getCore<Kolm::Buffer *>(buffer); }

} // namespace

Tracing Device::createTracing() { return TS<Tracing>(impl().ref().createTracing(), true); }
Tracing Device::createTracing(const Tracing &tracing) {
    return TS<Tracing>(impl().ref().createTracing(get_tracing(tracing)), true);
}
Tracing Device::createTracing(uint32_t num_instances, const Buffer &buffer, size_t offset, Tracing::Flags flags) {
    return TS<Tracing>(impl().ref().createTracing(num_instances, get_buffer(buffer), offset, getCoreFlags(flags)),
                       true);
}
Tracing Device::createTracing(uint32_t num_vertices, Format vertex_format, size_t vertex_stride, uint32_t num_indices,
                              Format index_format, Tracing::Flags flags) {
    return TS<Tracing>(impl().ref().createTracing(num_vertices, getCore(vertex_format), vertex_stride, num_indices,
                                                  getCore(index_format), getCoreFlags(flags)),
                       true);
}
Tracing Device::createTracing(uint32_t num_bounds, size_t stride, const Buffer &buffer, size_t offset,
                              Tracing::Flags flags) {
    return TS<Tracing>(impl().ref().createTracing(num_bounds, stride, get_buffer(buffer), offset, getCoreFlags(flags)),
                       true);
}

bool Device::setTracing(const Tracing &tracing, const Tracing::Instance *instances, uint32_t num) {
    Kolm::Array<Kolm::Tracing::Instance> list;
    list.reserve(num);
    for(uint32_t i = 0; i < num; i++) {
        Kolm::Tracing::Instance &instance = list.append();
        memcpy(instance.transform, instances[i].transform, sizeof(instance.transform));
        instance.tracing = (instances[i].tracing) ? get_tracing(*instances[i].tracing) : nullptr;
        instance.data = instances[i].data;
        instance.offset = instances[i].offset;
        instance.mask = instances[i].mask;
        instance.flags = instances[i].flags;
    }
    return impl().ref().setTracing(get_tracing(tracing), list.get(), num);
}
bool Device::setTracing(const Tracing &tracing, const Array<Tracing::Instance> &instances) {
    return setTracing(tracing, instances.get(), instances.size());
}
bool Device::buildTracing(const Tracing &tracing, const Buffer &scratch, size_t offset, Tracing::Flags flags) {
    return impl().ref().buildTracing(get_tracing(tracing), get_buffer(scratch), offset, getCoreFlags(flags));
}
bool Device::buildTracings(const Array<Tracing> &tracings, const Buffer &scratch, size_t offset, Tracing::Flags flags) {
    Kolm::Array<Kolm::Tracing *> list = copyArray<Kolm::Tracing *>(tracings);
    return impl().ref().buildTracings(list.get(), list.size(), get_buffer(scratch), offset, getCoreFlags(flags));
}
bool Device::copyTracing(const Tracing &tracing, const Buffer &buffer, size_t offset) {
    return impl().ref().copyTracing(get_tracing(tracing), get_buffer(buffer), offset);
}
bool Device::copyTracings(const Array<Tracing> &tracings, const Buffer &buffer, size_t offset, size_t stride) {
    Kolm::Array<Kolm::Tracing *> list = copyArray<Kolm::Tracing *>(tracings);
    return impl().ref().copyTracings(list.get(), list.size(), get_buffer(buffer), offset, stride);
}
bool Device::compactTracing(const Tracing &tracing) { return impl().ref().compactTracing(get_tracing(tracing)); }
bool Device::flushTracing(const Tracing &tracing) { return impl().ref().flushTracing(get_tracing(tracing)); }
bool Device::flushTracings(const Array<Tracing> &tracings) {
    Kolm::Array<Kolm::Tracing *> list = copyArray<Kolm::Tracing *>(tracings);
    return impl().ref().flushTracings(list.get(), list.size());
}
void Device::releaseTracing(const Tracing &tracing) { impl().ref().releaseTracing(get_tracing(tracing)); }

} // namespace Ostrevan
