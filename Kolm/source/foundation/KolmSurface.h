// KolmSurface.h: what a device and its targets draw to.
// Plain parameters; the API objects of the present render target are a backend's.

#pragma once

#include "KolmFormat.h"
#include "KolmPlatform.h"

namespace Kolm {

/// Size, samples, layers and formats of a render target that someone else owns: a window or the application.
class Surface : public PlatformBase {
public:
    explicit Surface(uint32_t index) : PlatformBase(index) {}

    void setSize(uint32_t width, uint32_t height);
    uint32_t getWidth() const { return width; }
    uint32_t getHeight() const { return height; }

    /// Samples of a pixel, 1 to 255; 0 is stored as 1.
    void setMultisample(uint32_t multisample);
    uint32_t getMultisample() const { return multisample; }
    bool hasMultisample() const { return (multisample > 1); }

    /// First layer and number of layers to draw to, below 256 each; no layers are stored as 1.
    void setColorLayer(uint32_t layer, uint32_t layers = 1);
    void setDepthLayer(uint32_t layer, uint32_t layers = 1);
    uint32_t getColorLayer() const { return color_layer; }
    uint32_t getDepthLayer() const { return depth_layer; }
    uint32_t getColorLayers() const { return color_layers; }
    uint32_t getDepthLayers() const { return depth_layers; }
    bool hasColorLayers() const { return (color_layers > 1); }
    bool hasDepthLayers() const { return (depth_layers > 1); }

    void setColorFormat(Format format) { color_format = format; }
    void setDepthFormat(Format format) { depth_format = format; }
    Format getColorFormat() const { return color_format; }
    Format getDepthFormat() const { return depth_format; }

protected:
    uint32_t width = 0; // pixels
    uint32_t height = 0;
    uint8_t multisample = 1;
    uint8_t color_layer = 0;
    uint8_t depth_layer = 0;
    uint8_t color_layers = 1;
    uint8_t depth_layers = 1;
    Format color_format = FormatUnknown;
    Format depth_format = FormatUnknown;
};

} // namespace Kolm
