// KolmDevice.cpp: the forms of the device that lean on other operations.

#include "KolmDevice.h"

#include <stdarg.h>

#include "KolmCompute.h"
#include "KolmLog.h"

namespace Kolm {

Device::Device(uint32_t index) : PlatformBase(index) {}

Device::Features &Device::get_features(uint32_t adapter_index) {
    static Features features[NumAdapters];
    KOLM_ASSERT(adapter_index < NumAdapters && "Device::get_features(): invalid adapter index");
    return features[adapter_index];
}

String Device::getVendorName(uint32_t vendor_id) {
    switch(vendor_id) {
    case 0x1002: return String("AMD");
    case 0x10DE: return String("Nvidia");
    case 0x8086: return String("Intel");
    case 0x5143: return String("Qualcomm");
    }
    return String::format("0x%04x", vendor_id);
}

// buffers

Buffer *Device::createBuffer(Buffer *src) {
    Buffer *buffer = createBuffer();
    return (buffer) ? get_created(buffer, buffer->create(src)) : nullptr;
}

Buffer *Device::createBuffer(Buffer::Flags flags, size_t size, Format format) {
    Buffer *buffer = createBuffer();
    return (buffer) ? get_created(buffer, buffer->create(flags, size, format)) : nullptr;
}

Buffer *Device::createBuffer(Buffer::Flags flags, const void *src, size_t size, Format format) {
    Buffer *buffer = createBuffer(flags, size, format);
    return (buffer && src) ? get_created(buffer, setBuffer(buffer, 0, src, size)) : buffer;
}

bool Device::setBuffer(Buffer *buffer, const void *src, size_t size) { return setBuffer(buffer, 0, src, size); }

bool Device::setBuffer(Buffer *buffer, const void *src) {
    KOLM_ASSERT(buffer && "Device::setBuffer(): buffer is null");
    return setBuffer(buffer, 0, src, buffer->getSize());
}

bool Device::getBuffer(Buffer *buffer, void *dest, size_t size) { return getBuffer(buffer, 0, dest, size); }

bool Device::getBuffer(Buffer *buffer, void *dest) {
    KOLM_ASSERT(buffer && "Device::getBuffer(): buffer is null");
    return getBuffer(buffer, 0, dest, buffer->getSize());
}

void *Device::mapBuffer(Buffer *buffer, size_t size) { return mapBuffer(buffer, 0, size); }

void *Device::mapBuffer(Buffer *buffer) {
    KOLM_ASSERT(buffer && "Device::mapBuffer(): buffer is null");
    return mapBuffer(buffer, 0, buffer->getSize());
}

bool Device::copyBuffer(Buffer *dest, Buffer *src, size_t size) { return copyBuffer(dest, 0, src, 0, size); }

bool Device::copyBuffer(Buffer *dest, Buffer *src) {
    KOLM_ASSERT(src && "Device::copyBuffer(): src buffer is null");
    return copyBuffer(dest, 0, src, 0, src->getSize());
}

bool Device::clearBuffer(Buffer *buffer, Format format, const void *value, size_t size) {
    return clearBuffer(buffer, format, 0, value, size);
}

bool Device::clearBuffer(Buffer *buffer, Format format, const void *value) {
    KOLM_ASSERT(buffer && "Device::clearBuffer(): buffer is null");
    return clearBuffer(buffer, format, 0, value, buffer->getSize());
}

bool Device::clearBuffer(Buffer *buffer) { return clearBuffer(buffer, FormatUnknown, nullptr); }

bool Device::flushBuffers(const std::initializer_list<Buffer *> &buffers, Buffer::Flags flags) {
    return flushBuffers(const_cast<Buffer **>(buffers.begin()), uint32_t(buffers.size()), flags);
}

// shaders

Shader *Device::loadShader(Shader::Type type, const char *name, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return loadShader(type, name, macros);
}

Shader *Device::loadShader(Shader::Type type, const char *name, const String &macros, const char **includes,
                           uint32_t size) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->load(type, name, macros, includes, size)) : nullptr;
}

Shader *Device::loadShaderGLSL(Shader::Type type, const char *name, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return loadShaderGLSL(type, name, macros);
}

Shader *Device::loadShaderGLSL(Shader::Type type, const char *name, const String &macros, const char **includes,
                               uint32_t size) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->loadGLSL(type, name, macros, includes, size)) : nullptr;
}

Shader *Device::createShader(Shader::Type type, const char *src, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return createShader(type, src, macros);
}

Shader *Device::createShader(Shader::Type type, const char *src, const String &macros, const char **includes,
                             uint32_t size) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->create(type, src, macros, includes, size)) : nullptr;
}

Shader *Device::createShaderGLSL(Shader::Type type, const char *src, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return createShaderGLSL(type, src, macros);
}

Shader *Device::createShaderGLSL(Shader::Type type, const char *src, const String &macros, const char **includes,
                                 uint32_t size) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->createGLSL(type, src, macros, includes, size)) : nullptr;
}

Shader *Device::loadShaderSPIRV(Shader::Type type, const char *name) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->loadSPIRV(type, name)) : nullptr;
}

Shader *Device::createShaderSPIRV(Shader::Type type, const Array<uint32_t> &data) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->createSPIRV(type, data)) : nullptr;
}

} // namespace Kolm
