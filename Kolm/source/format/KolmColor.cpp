// Colour spaces and transfer functions of Color.

#include "KolmColor.h"

#include <math.h>

namespace Kolm {

namespace {

constexpr float32_t hsv_epsilon = 1e-6f;

float32_t power(float32_t c, float32_t p) { return (c > 0.0f) ? powf(c, p) : 0.0f; }
float32_t saturate(float32_t v) { return (v > 0.0f) ? min(v, 1.0f) : 0.0f; }

} // namespace

bool Color::setHTML(const char *text) {
    if(text == nullptr || text[0] != '#') return false;
    uint32_t bits = 0;
    uint32_t digits = 0;
    for(const char *s = text + 1; digits < 8; s++, digits++) {
        if(*s >= '0' && *s <= '9')
            bits = (bits << 4) | uint32_t(*s - '0');
        else if(*s >= 'a' && *s <= 'f')
            bits = (bits << 4) | uint32_t(*s - 'a' + 10);
        else if(*s >= 'A' && *s <= 'F')
            bits = (bits << 4) | uint32_t(*s - 'A' + 10);
        else
            break;
    }
    uint32_t rgba[4] = {bits >> 16, bits >> 8, bits, 255};
    if(digits == 3) {
        rgba[0] = (bits >> 8) * 17;
        rgba[1] = ((bits >> 4) & 15) * 17;
        rgba[2] = (bits & 15) * 17;
    } else if(digits == 8) {
        rgba[0] = bits >> 24;
        rgba[1] = bits >> 16;
        rgba[2] = bits >> 8;
        rgba[3] = bits;
    }
    for(uint32_t i = 0; i < 4; i++) c[i] = float32_t(rgba[i] & 255) / 255.0f;
    return true;
}

bool Color::setHSV(float32_t hue, float32_t saturation, float32_t value) {
    a = 1.0f;
    if(!(saturation > 0.0f)) {
        r = g = b = value;
        return false;
    }
    const float32_t h = isfinite(hue) ? hue / 60.0f : 0.0f;
    const float32_t base = floorf(h);
    const float32_t f = h - base;
    int32_t sector = int32_t(fmodf(base, 6.0f));
    if(sector < 0) sector += 6;
    const float32_t p = value * (1.0f - saturation);
    const float32_t q = value * (1.0f - saturation * f);
    const float32_t t = value * (1.0f - saturation * (1.0f - f));
    const float32_t sectors[6][3] = {{value, t, p}, {q, value, p}, {p, value, t},
                                     {p, q, value}, {t, p, value}, {value, p, q}};
    for(uint32_t i = 0; i < 3; i++) c[i] = sectors[sector][i];
    return true;
}

bool Color::getHSV(float32_t &hue, float32_t &saturation, float32_t &value) const {
    hue = 0.0f;
    saturation = 0.0f;
    value = max(max(r, g), b);
    const float32_t range = value - min(min(r, g), b);
    if(!(value >= hsv_epsilon)) return false;
    saturation = range / value;
    if(!(saturation >= hsv_epsilon)) {
        saturation = 0.0f;
        return false;
    }
    float32_t h;
    if(r == value)
        h = (g - b) / range * 60.0f;
    else if(g == value)
        h = (b - r) / range * 60.0f + 120.0f;
    else
        h = (r - g) / range * 60.0f + 240.0f;
    if(h < 0.0f) h += 360.0f;
    hue = (h < 360.0f) ? h : 0.0f;
    return true;
}

void Color::setTemperature(float32_t kelvin) {
    // Least-squares fits of the Planckian locus in sRGB.
    const float32_t t = kelvin * 0.01f;
    if(t >= 66.0f) {
        r = 1.3556671f + 4.479e-6f * kelvin - 0.1578575f * logf(t - 55.0f);
        g = 1.2606971f + 3.115e-6f * kelvin - 0.1101384f * logf(t - 50.0f);
        b = 1.0f;
    } else {
        r = 1.0f;
        g = (t > 2.0f) ? -0.60534483f - 1.7489e-5f * kelvin + 0.4097732f * logf(t - 2.0f) : 0.0f;
        b = (t > 20.0f) ? -1.0315425f + 3.2447e-5f * kelvin + 0.4536468f * logf(t - 10.0f) : 0.0f;
    }
    for(uint32_t i = 0; i < 3; i++) c[i] = saturate(c[i]);
    a = 1.0f;
}

Color Color::gammaToLinear() const { return Color(power(r, 2.2f), power(g, 2.2f), power(b, 2.2f), a); }
Color Color::linearToGamma() const {
    return Color(power(r, 0.45454544f), power(g, 0.45454544f), power(b, 0.45454544f), a);
}
Color Color::sRGBtoLinear() const { return Color(sRGBtoLinear(r), sRGBtoLinear(g), sRGBtoLinear(b), a); }
Color Color::linearToSRGB() const { return Color(linearToSRGB(r), linearToSRGB(g), linearToSRGB(b), a); }

float32_t Color::sRGBtoLinear(float32_t c) {
    return (c < 0.04044994f) ? c / 12.92f : powf((c + 0.055f) / 1.055f, 2.4f);
}
float32_t Color::linearToSRGB(float32_t c) {
    return (c < 0.0031308f) ? c * 12.92f : 1.055f * powf(c, 0.41666666f) - 0.055f;
}

} // namespace Kolm
