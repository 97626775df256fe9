// What a device and its targets draw to.

#pragma once

#include <base/OstrevanHandle.h>
#include <format/OstrevanFormat.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

class Context;

/// Size, samples, layers and formats of a render target that someone else owns: a window or the application.
class OSTREVAN_API Surface {
    OSTREVAN_HANDLE(Surface)
public:
    Surface();
    /// Empty surface of a concrete platform: PlatformAny is refused with one line, and the handle stays empty.
    explicit Surface(Platform platform);
    /// Surface with the context's adapter and queue. Expects a context; one that is not created is refused with one
    /// line.
    explicit Surface(const Context &context);

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    uint32_t getIndex() const;

    void setSize(uint32_t width, uint32_t height);
    uint32_t getWidth() const;
    uint32_t getHeight() const;

    /// Samples of a pixel, 1 to 255; 0 is stored as 1.
    void setMultisample(uint32_t multisample);
    uint32_t getMultisample() const;
    bool hasMultisample() const;

    /// First layer and number of layers to draw to, below 256 each.
    void setColorLayer(uint32_t layer, uint32_t layers = 1);
    void setDepthLayer(uint32_t layer, uint32_t layers = 1);
    uint32_t getColorLayer() const;
    uint32_t getDepthLayer() const;
    uint32_t getColorLayers() const;
    uint32_t getDepthLayers() const;
    bool hasColorLayers() const;
    bool hasDepthLayers() const;

    void setColorFormat(Format format);
    void setDepthFormat(Format format);
    Format getColorFormat() const;
    Format getDepthFormat() const;
};

} // namespace Ostrevan
