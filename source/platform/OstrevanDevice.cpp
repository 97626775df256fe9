#include "OstrevanDeviceKolm.h"

#include <stdarg.h>

#include "KolmBackend.h"
#include "KolmCompute.h"
#include "OstrevanBufferKolm.h"
#include "OstrevanBufferTableKolm.h"
#include "OstrevanCommandKolm.h"
#include "OstrevanComputeKolm.h"
#include "OstrevanContextKolm.h"
#include "OstrevanFenceKolm.h"
#include "OstrevanKernelKolm.h"
#include "OstrevanPipelineKolm.h"
#include "OstrevanQueryKolm.h"
#include "OstrevanSamplerKolm.h"
#include "OstrevanShaderKolm.h"
#include "OstrevanStringKolm.h"
#include "OstrevanSurfaceKolm.h"
#include "OstrevanTargetKolm.h"
#include "OstrevanTextureKolm.h"
#include "OstrevanTextureTableKolm.h"
#include "OstrevanTracingKolm.h"
#include "OstrevanTraversalKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

namespace {

constexpr uint32_t max_buffers = 128; // handles of one call

Kolm::Buffer *get_buffer(const Buffer &buffer) { return getCore<Kolm::Buffer *>(buffer); }
Kolm::Shader::Type get_type(Shader::Type type) { return static_cast<Kolm::Shader::Type>(type); }

} // namespace

OSTREVAN_HANDLE_SOURCE(Device, Noncopyable)

Device::Device() : Device(VoidImpl()) {}
Device::Device(const Context &context) : Device(VoidImpl()) {
    KOLM_ASSERT(context.isValidPtr() && "Device::Device(): context is null");
    Kolm::Offscreen *core = getCore<Kolm::Offscreen *>(context);
    Kolm::Device *device = (core) ? Kolm::Backend::createDevice(core, nullptr) : nullptr;
    if(device) impl().init(device);
}
Device::Device(const Surface &surface) : Device(VoidImpl()) {
    KOLM_ASSERT(surface.isValidPtr() && "Device::Device(): surface is null");
    Kolm::Surface *core = getCore<Kolm::Surface *>(surface);
    Kolm::Device *device = (core) ? Kolm::Backend::createDevice(nullptr, core) : nullptr;
    if(device) impl().init(device);
}

Platform Device::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Device::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Device::getIndex() const { return impl().ref().getIndex(); }

String Device::getName() const { return String::StringImpl::TS(impl().ref().getName()); }
String Device::getVendor() const { return String::StringImpl::TS(impl().ref().getVendor()); }
String Device::getVersion() const { return String::StringImpl::TS(impl().ref().getVersion()); }
const Device::Features &Device::getFeatures() const {
    return reinterpret_cast<const Features &>(impl().ref().getFeatures());
}

bool Device::isVendorARM() const { return impl().ref().isVendorARM(); }
bool Device::isVendorAMD() const { return impl().ref().isVendorAMD(); }
bool Device::isVendorApple() const { return impl().ref().isVendorApple(); }
bool Device::isVendorIntel() const { return impl().ref().isVendorIntel(); }
bool Device::isVendorNvidia() const { return impl().ref().isVendorNvidia(); }
bool Device::isVendorQualcomm() const { return impl().ref().isVendorQualcomm(); }

bool Device::hasQuery(Query::Type type) const { return impl().ref().hasQuery(static_cast<Kolm::Query::Type>(type)); }
bool Device::hasTarget(Format format) const { return impl().ref().hasTarget(getCore(format)); }
bool Device::hasTexture(Format format) const { return impl().ref().hasTexture(getCore(format)); }
bool Device::hasSurface(Format format) const { return impl().ref().hasSurface(getCore(format)); }
bool Device::hasShader(Shader::Type type) const { return impl().ref().hasShader(get_type(type)); }

Device Device::createDevice(uint32_t index, uint32_t frames) {
    return TS<Device>(impl().ref().createDevice(index, frames), true);
}
Device Device::createCommandDevice(uint32_t frames) {
    return TS<Device>(impl().ref().createCommandDevice(frames), true);
}
Device Device::createComputeDevice(uint32_t frames) {
    return TS<Device>(impl().ref().createComputeDevice(frames), true);
}
Device Device::createCopyDevice(uint32_t frames) { return TS<Device>(impl().ref().createCopyDevice(frames), true); }

Buffer Device::createBuffer() { return TS<Buffer>(impl().ref().createBuffer(), true); }
Buffer Device::createBuffer(const Buffer &buffer) {
    return TS<Buffer>(impl().ref().createBuffer(get_buffer(buffer)), true);
}
Buffer Device::createBuffer(Buffer::Flags flags, size_t size, Format format) {
    return TS<Buffer>(impl().ref().createBuffer(getCoreFlags(flags), size, getCore(format)), true);
}
Buffer Device::createBuffer(Buffer::Flags flags, const void *src, size_t size, Format format) {
    return TS<Buffer>(impl().ref().createBuffer(getCoreFlags(flags), src, size, getCore(format)), true);
}

Target Device::createTarget() { return TS<Target>(impl().ref().createTarget(), true); }
Target Device::createTarget(const Surface &surface) {
    return TS<Target>(impl().ref().createTarget(getCore<Kolm::Surface *>(surface)), true);
}

BufferTable Device::createBufferTable() { return TS<BufferTable>(impl().ref().createBufferTable(), true); }
BufferTable Device::createBufferTable(uint32_t size) {
    return TS<BufferTable>(impl().ref().createBufferTable(size), true);
}

Query Device::createQuery() { return TS<Query>(impl().ref().createQuery(), true); }
Query Device::createQuery(Query::Type type) {
    return TS<Query>(impl().ref().createQuery(static_cast<Kolm::Query::Type>(type)), true);
}
Fence Device::createFence() { return TS<Fence>(impl().ref().createFence(), true); }
Fence Device::createFence(Fence::Flags flags) { return TS<Fence>(impl().ref().createFence(getCoreFlags(flags)), true); }
Fence Device::createFence(const Fence &fence) {
    return TS<Fence>(impl().ref().createFence(getCore<Kolm::Fence *>(fence)), true);
}

Shader Device::createShader() { return TS<Shader>(impl().ref().createShader(), true); }
Shader Device::loadShader(Shader::Type type, const char *name, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return TS<Shader>(impl().ref().loadShader(get_type(type), name, macros), true);
}
Shader Device::loadShader(Shader::Type type, const char *name, const String &macros) {
    return TS<Shader>(impl().ref().loadShader(get_type(type), name, macros.impl().ref()), true);
}
Shader Device::loadShaderGLSL(Shader::Type type, const char *name, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return TS<Shader>(impl().ref().loadShaderGLSL(get_type(type), name, macros), true);
}
Shader Device::loadShaderGLSL(Shader::Type type, const char *name, const String &macros) {
    return TS<Shader>(impl().ref().loadShaderGLSL(get_type(type), name, macros.impl().ref()), true);
}
Shader Device::createShader(Shader::Type type, const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return TS<Shader>(impl().ref().createShader(get_type(type), src, macros), true);
}
Shader Device::createShader(Shader::Type type, const char *src, const String &macros) {
    return TS<Shader>(impl().ref().createShader(get_type(type), src, macros.impl().ref()), true);
}
Shader Device::createShaderGLSL(Shader::Type type, const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return TS<Shader>(impl().ref().createShaderGLSL(get_type(type), src, macros), true);
}
Shader Device::createShaderGLSL(Shader::Type type, const char *src, const String &macros) {
    return TS<Shader>(impl().ref().createShaderGLSL(get_type(type), src, macros.impl().ref()), true);
}
Shader Device::loadShaderSPIRV(Shader::Type type, const char *name) {
    return TS<Shader>(impl().ref().loadShaderSPIRV(get_type(type), name), true);
}
Shader Device::createShaderSPIRV(Shader::Type type, const Array<uint32_t> &words) {
    return TS<Shader>(impl().ref().createShaderSPIRV(get_type(type), Kolm::Array<uint32_t>(words.size(), words.get())),
                      true);
}

Kernel Device::createKernel() { return TS<Kernel>(impl().ref().createKernel(), true); }
Kernel Device::createKernel(const Kernel &kernel) {
    return TS<Kernel>(impl().ref().createKernel(getCore<Kolm::Kernel *>(kernel)), true);
}
void Device::releaseKernel(const Kernel &kernel) { impl().ref().releaseKernel(getCore<Kolm::Kernel *>(kernel)); }

Pipeline Device::createPipeline() { return TS<Pipeline>(impl().ref().createPipeline(), true); }
Pipeline Device::createPipeline(const Pipeline &pipeline) {
    return TS<Pipeline>(impl().ref().createPipeline(getCore<Kolm::Pipeline *>(pipeline)), true);
}
void Device::releasePipeline(const Pipeline &pipeline) {
    impl().ref().releasePipeline(getCore<Kolm::Pipeline *>(pipeline));
}
Traversal Device::createTraversal() { return TS<Traversal>(impl().ref().createTraversal(), true); }
Traversal Device::createTraversal(const Traversal &traversal) {
    return TS<Traversal>(impl().ref().createTraversal(getCore<Kolm::Traversal *>(traversal)), true);
}
void Device::releaseTraversal(const Traversal &traversal) {
    impl().ref().releaseTraversal(getCore<Kolm::Traversal *>(traversal));
}

Command Device::createCommand(const Target &target) {
    return TS<Command>(impl().ref().createCommand(getCore<Kolm::Target *>(target)), true);
}
Command Device::createCommand() { return TS<Command>(impl().ref().createCommand(), true); }

Compute Device::createCompute() { return TS<Compute>(impl().ref().createCompute(), true); }

bool Device::setBuffer(const Buffer &buffer, size_t offset, const void *src, size_t size) {
    return impl().ref().setBuffer(get_buffer(buffer), offset, src, size);
}
bool Device::setBuffer(const Buffer &buffer, const void *src, size_t size) {
    return impl().ref().setBuffer(get_buffer(buffer), src, size);
}
bool Device::setBuffer(const Buffer &buffer, const void *src) {
    return impl().ref().setBuffer(get_buffer(buffer), src);
}
bool Device::getBuffer(const Buffer &buffer, size_t offset, void *dest, size_t size) {
    return impl().ref().getBuffer(get_buffer(buffer), offset, dest, size);
}
bool Device::getBuffer(const Buffer &buffer, void *dest, size_t size) {
    return impl().ref().getBuffer(get_buffer(buffer), dest, size);
}
bool Device::getBuffer(const Buffer &buffer, void *dest) { return impl().ref().getBuffer(get_buffer(buffer), dest); }
void *Device::mapBuffer(const Buffer &buffer, size_t offset, size_t size) {
    return impl().ref().mapBuffer(get_buffer(buffer), offset, size);
}
void *Device::mapBuffer(const Buffer &buffer, size_t size) { return impl().ref().mapBuffer(get_buffer(buffer), size); }
void *Device::mapBuffer(const Buffer &buffer) { return impl().ref().mapBuffer(get_buffer(buffer)); }
bool Device::unmapBuffer(const Buffer &buffer) { return impl().ref().unmapBuffer(get_buffer(buffer)); }
bool Device::copyBuffer(const Buffer &dest, size_t dest_offset, const Buffer &src, size_t src_offset, size_t size) {
    return impl().ref().copyBuffer(get_buffer(dest), dest_offset, get_buffer(src), src_offset, size);
}
bool Device::copyBuffer(const Buffer &dest, const Buffer &src, size_t size) {
    return impl().ref().copyBuffer(get_buffer(dest), get_buffer(src), size);
}
bool Device::copyBuffer(const Buffer &dest, const Buffer &src) {
    return impl().ref().copyBuffer(get_buffer(dest), get_buffer(src));
}
bool Device::clearBuffer(const Buffer &buffer, Format format, size_t offset, const void *value, size_t size) {
    return impl().ref().clearBuffer(get_buffer(buffer), getCore(format), offset, value, size);
}
bool Device::clearBuffer(const Buffer &buffer, Format format, const void *value, size_t size) {
    return impl().ref().clearBuffer(get_buffer(buffer), getCore(format), value, size);
}
bool Device::clearBuffer(const Buffer &buffer, Format format, const void *value) {
    return impl().ref().clearBuffer(get_buffer(buffer), getCore(format), value);
}
bool Device::clearBuffer(const Buffer &buffer) { return impl().ref().clearBuffer(get_buffer(buffer)); }
bool Device::flushBuffer(const Buffer &buffer, Buffer::Flags flags) {
    return impl().ref().flushBuffer(get_buffer(buffer), getCoreFlags(flags));
}
bool Device::flushBuffers(const std::initializer_list<Buffer> &buffers, Buffer::Flags flags) {
    Kolm::Buffer *list[max_buffers];
    const uint32_t num = copyList(list, buffers);
    return impl().ref().flushBuffers(list, num, getCoreFlags(flags));
}
bool Device::flushBuffers(const Array<Buffer> &buffers, Buffer::Flags flags) {
    Kolm::Array<Kolm::Buffer *> list = copyArray<Kolm::Buffer *>(buffers);
    return impl().ref().flushBuffers(list.get(), list.size(), getCoreFlags(flags));
}
bool Device::bindBuffer(const Buffer &buffer, size_t offset, size_t size, bool bind) {
    return impl().ref().bindBuffer(get_buffer(buffer), offset, size, bind);
}
bool Device::bindBuffer(const Buffer &buffer, size_t offset, size_t size, bool bind, const Fence &fence) {
    return impl().ref().bindBuffer(get_buffer(buffer), offset, size, bind, getCore<Kolm::Fence *>(fence));
}
void Device::releaseBuffer(const Buffer &buffer) { impl().ref().releaseBuffer(get_buffer(buffer)); }

bool Device::beginQuery(const Query &query) { return impl().ref().beginQuery(getCore<Kolm::Query *>(query)); }
bool Device::endQuery(const Query &query) { return impl().ref().endQuery(getCore<Kolm::Query *>(query)); }
bool Device::copyQuery(const Query &query, const Buffer &buffer, size_t offset) {
    return impl().ref().copyQuery(getCore<Kolm::Query *>(query), get_buffer(buffer), offset);
}
bool Device::copyQueries(const Array<Query> &queries, const Buffer &buffer, size_t offset, size_t stride) {
    Kolm::Array<Kolm::Query *> list = copyArray<Kolm::Query *>(queries);
    return impl().ref().copyQueries(list.get(), list.size(), get_buffer(buffer), offset, stride);
}
bool Device::waitFence(const Fence &fence) { return impl().ref().waitFence(getCore<Kolm::Fence *>(fence)); }
bool Device::signalFence(const Fence &fence) { return impl().ref().signalFence(getCore<Kolm::Fence *>(fence)); }

bool Device::execute(const Device &device) { return impl().ref().execute(getCore<Kolm::Device *>(device)); }
bool Device::flip() { return impl().ref().flip(); }
bool Device::flip(const Fence &fence) { return impl().ref().flip(getCore<Kolm::Fence *>(fence)); }
bool Device::flush() { return impl().ref().flush(); }
bool Device::finish() { return impl().ref().finish(); }
bool Device::check() { return impl().ref().check(); }

} // namespace Ostrevan
