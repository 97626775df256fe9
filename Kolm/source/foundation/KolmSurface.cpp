// KolmSurface.cpp: parameters of a surface.

#include "KolmSurface.h"

namespace Kolm {

void Surface::setSize(uint32_t new_width, uint32_t new_height) {
    width = new_width;
    height = new_height;
}

void Surface::setMultisample(uint32_t new_multisample) {
    KOLM_ASSERT(new_multisample < 256 && "Surface::setMultisample(): invalid multisample");
    multisample = uint8_t(max(new_multisample, 1u));
}

void Surface::setColorLayer(uint32_t layer, uint32_t layers) {
    KOLM_ASSERT(layer < 256 && layers < 256 && "Surface::setColorLayer(): invalid layer");
    color_layer = uint8_t(layer);
    color_layers = uint8_t(max(layers, 1u));
}

void Surface::setDepthLayer(uint32_t layer, uint32_t layers) {
    KOLM_ASSERT(layer < 256 && layers < 256 && "Surface::setDepthLayer(): invalid layer");
    depth_layer = uint8_t(layer);
    depth_layers = uint8_t(max(layers, 1u));
}

} // namespace Kolm
