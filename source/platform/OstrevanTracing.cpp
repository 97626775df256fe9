#include "OstrevanTracingKolm.h"

#include "OstrevanBufferKolm.h"
#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Tracing, Noncopyable)

Tracing::Tracing() : Tracing(VoidImpl()) {}

Platform Tracing::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Tracing::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Tracing::getIndex() const { return impl().ref().getIndex(); }

void Tracing::clear() { impl().ref().clear(); }
bool Tracing::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Tracing::create(Flags flags) { return impl().ref().create(getCoreFlags(flags)); }

void Tracing::setName(const char *name) { impl().ref().setName(name); }
String Tracing::getName() const { return String::StringImpl::TS(impl().ref().getName()); }
Tracing::Type Tracing::getType() const { return static_cast<Type>(impl().ref().getType()); }
const char *Tracing::getTypeName(Type type) {
    return Kolm::Tracing::getTypeName(static_cast<Kolm::Tracing::Type>(type));
}
const char *Tracing::getTypeName() const { return impl().ref().getTypeName(); }
Tracing::Flags Tracing::getFlags() const { return static_cast<Flags>(impl().ref().getFlags()); }
bool Tracing::hasFlag(Flags flags) const { return impl().ref().hasFlag(getCoreFlags(flags)); }
String Tracing::getDescription() const { return String::StringImpl::TS(impl().ref().getDescription()); }
Tracing &Tracing::setParameters(const Tracing &tracing) {
    impl().ref().setParameters(getCore<const Kolm::Tracing *>(tracing));
    return *this;
}

uint32_t Tracing::addGeometry(uint32_t num_vertices, Format vertex_format, size_t vertex_stride) {
    return impl().ref().addGeometry(num_vertices, getCore(vertex_format), vertex_stride);
}
uint32_t Tracing::addGeometry(uint32_t num_vertices, Format vertex_format, size_t vertex_stride, uint32_t num_indices,
                              Format index_format) {
    return impl().ref().addGeometry(num_vertices, getCore(vertex_format), vertex_stride, num_indices,
                                    getCore(index_format));
}
Tracing &Tracing::setVertexBuffer(uint32_t index, const Buffer &buffer, size_t offset) {
    impl().ref().setVertexBuffer(index, getCore<Kolm::Buffer *>(buffer), offset);
    return *this;
}
Tracing &Tracing::setIndexBuffer(uint32_t index, const Buffer &buffer, size_t offset) {
    impl().ref().setIndexBuffer(index, getCore<Kolm::Buffer *>(buffer), offset);
    return *this;
}
Tracing &Tracing::setTransformBuffer(uint32_t index, const Buffer &buffer, size_t offset) {
    impl().ref().setTransformBuffer(index, getCore<Kolm::Buffer *>(buffer), offset);
    return *this;
}
uint32_t Tracing::getNumGeometries() const { return impl().ref().getNumGeometries(); }

uint32_t Tracing::addBounds(uint32_t num_bounds, size_t stride) { return impl().ref().addBounds(num_bounds, stride); }
uint32_t Tracing::addBounds(uint32_t num_bounds, size_t stride, const Buffer &buffer, size_t offset) {
    return impl().ref().addBounds(num_bounds, stride, getCore<Kolm::Buffer *>(buffer), offset);
}
Tracing &Tracing::setBoundsBuffer(uint32_t index, const Buffer &buffer, size_t offset) {
    impl().ref().setBoundsBuffer(index, getCore<Kolm::Buffer *>(buffer), offset);
    return *this;
}
uint32_t Tracing::getNumBounds() const { return impl().ref().getNumBounds(); }

Tracing &Tracing::setInstances(uint32_t num_instances, const Buffer &buffer, size_t offset) {
    impl().ref().setInstances(num_instances, getCore<Kolm::Buffer *>(buffer), offset);
    return *this;
}
uint32_t Tracing::getNumInstances() const { return impl().ref().getNumInstances(); }
size_t Tracing::getMemory() const { return impl().ref().getMemory(); }
size_t Tracing::getBuildSize() const { return impl().ref().getBuildSize(); }
size_t Tracing::getUpdateSize() const { return impl().ref().getUpdateSize(); }
uint32_t Tracing::getScratchAlignment() const { return impl().ref().getScratchAlignment(); }
bool Tracing::isBuilt() const { return impl().ref().isBuilt(); }

} // namespace Ostrevan
