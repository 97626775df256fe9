// Forwarding of the colour functions.

#include "OstrevanFormatKolm.h"

namespace Ostrevan {

bool Color::setHTML(const char *text) {
    Kolm::Color color = getCore(*this);
    const bool ret = color.setHTML(text);
    *this = getPublic(color);
    return ret;
}

bool Color::setHSV(float32_t hue, float32_t saturation, float32_t value) {
    Kolm::Color color = getCore(*this);
    const bool ret = color.setHSV(hue, saturation, value);
    *this = getPublic(color);
    return ret;
}
bool Color::getHSV(float32_t &hue, float32_t &saturation, float32_t &value) const {
    return getCore(*this).getHSV(hue, saturation, value);
}

void Color::setTemperature(float32_t kelvin) {
    Kolm::Color color = getCore(*this);
    color.setTemperature(kelvin);
    *this = getPublic(color);
}

Color Color::gammaToLinear() const { return getPublic(getCore(*this).gammaToLinear()); }
Color Color::linearToGamma() const { return getPublic(getCore(*this).linearToGamma()); }
Color Color::sRGBtoLinear() const { return getPublic(getCore(*this).sRGBtoLinear()); }
Color Color::linearToSRGB() const { return getPublic(getCore(*this).linearToSRGB()); }
float32_t Color::sRGBtoLinear(float32_t c) { return Kolm::Color::sRGBtoLinear(c); }
float32_t Color::linearToSRGB(float32_t c) { return Kolm::Color::linearToSRGB(c); }

} // namespace Ostrevan
