// A colour of four floats.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// Red, green, blue and alpha, as a rule in 0 to 1.
struct Color {
    constexpr Color() : r(0.0f), g(0.0f), b(0.0f), a(0.0f) {}
    constexpr explicit Color(float32_t v) : r(v), g(v), b(v), a(v) {}
    constexpr Color(float32_t r, float32_t g, float32_t b, float32_t a = 1.0f) : r(r), g(g), b(b), a(a) {}
    constexpr Color(const Color &color, float32_t a) : r(color.r), g(color.g), b(color.b), a(a) {}
    constexpr explicit Color(const float32_t *v) : r(v[0]), g(v[1]), b(v[2]), a(v[3]) {}
    /// From the text of setHTML(), zero if it is not one.
    explicit Color(const char *html) : Color() { setHTML(html); }

    Color &operator+=(float32_t v) { return *this = *this + v; }
    Color &operator-=(float32_t v) { return *this = *this - v; }
    Color &operator*=(float32_t v) { return *this = *this * v; }
    Color &operator/=(float32_t v) { return *this = *this / v; }
    Color &operator+=(const Color &c) { return *this = *this + c; }
    Color &operator-=(const Color &c) { return *this = *this - c; }
    Color &operator*=(const Color &c) { return *this = *this * c; }
    Color &operator/=(const Color &c) { return *this = *this / c; }

    constexpr Color operator-() const { return Color(-r, -g, -b, -a); }
    constexpr Color operator+(float32_t v) const { return Color(r + v, g + v, b + v, a + v); }
    constexpr Color operator-(float32_t v) const { return Color(r - v, g - v, b - v, a - v); }
    constexpr Color operator*(float32_t v) const { return Color(r * v, g * v, b * v, a * v); }
    constexpr Color operator/(float32_t v) const { return Color(r / v, g / v, b / v, a / v); }
    constexpr Color operator+(const Color &v) const { return Color(r + v.r, g + v.g, b + v.b, a + v.a); }
    constexpr Color operator-(const Color &v) const { return Color(r - v.r, g - v.g, b - v.b, a - v.a); }
    constexpr Color operator*(const Color &v) const { return Color(r * v.r, g * v.g, b * v.b, a * v.a); }
    constexpr Color operator/(const Color &v) const { return Color(r / v.r, g / v.g, b / v.b, a / v.a); }

    constexpr bool operator==(const Color &v) const { return r == v.r && g == v.g && b == v.b && a == v.a; }
    constexpr bool operator!=(const Color &v) const { return !(*this == v); }

    float32_t operator[](uint32_t index) const { return c[index]; }
    float32_t &operator[](uint32_t index) { return c[index]; }

    /// Packed bytes, the first named channel in the low byte. Channels are clamped to 0 to 1 and cut.
    uint32_t getRGBAu8() const { return pack(r, g, b, a); }
    uint32_t getBGRAu8() const { return pack(b, g, r, a); }
    uint32_t getABGRu8() const { return pack(a, b, g, r); }
    void setRGBAu8(uint32_t bits) { *this = Color(byte(bits, 0), byte(bits, 1), byte(bits, 2), byte(bits, 3)); }
    void setBGRAu8(uint32_t bits) { *this = Color(byte(bits, 2), byte(bits, 1), byte(bits, 0), byte(bits, 3)); }
    void setABGRu8(uint32_t bits) { *this = Color(byte(bits, 3), byte(bits, 2), byte(bits, 1), byte(bits, 0)); }
    uint8_t getRu8() const { return to_byte(r); }
    uint8_t getGu8() const { return to_byte(g); }
    uint8_t getBu8() const { return to_byte(b); }
    uint8_t getAu8() const { return to_byte(a); }

    /// "#rgb", "#rrggbb" or "#rrggbbaa" in either case; any other number of digits is read as rrggbb.
    /// Returns false, and changes nothing, if the text does not begin with "#".
    OSTREVAN_API bool setHTML(const char *text);

    /// Hue in degrees. Returns false for a grey, which a saturation not above 0 gives. Alpha is set to 1.
    OSTREVAN_API bool setHSV(float32_t hue, float32_t saturation, float32_t value);
    /// Hue from 0 up to 360. Returns false for greys, whose hue and saturation are 0.
    OSTREVAN_API bool getHSV(float32_t &hue, float32_t &saturation, float32_t &value) const;

    /// Colour of a black body in kelvin, about 1000 to 40000. Alpha is set to 1.
    OSTREVAN_API void setTemperature(float32_t kelvin);

    /// This colour through a power of 2.2, or through the sRGB transfer function, and back. Alpha stays.
    OSTREVAN_API Color gammaToLinear() const;
    OSTREVAN_API Color linearToGamma() const;
    OSTREVAN_API Color sRGBtoLinear() const;
    OSTREVAN_API Color linearToSRGB() const;

    /// One channel of the above.
    OSTREVAN_API static float32_t sRGBtoLinear(float32_t c);
    OSTREVAN_API static float32_t linearToSRGB(float32_t c);

    static const Color zero;
    static const Color black;
    static const Color white;
    static const Color gray;
    static const Color red;
    static const Color yellow;
    static const Color green;
    static const Color cyan;
    static const Color blue;
    static const Color magenta;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
    union {
        struct {
            float32_t r, g, b, a;
        };
        float32_t c[4];
    };
#pragma GCC diagnostic pop

private:
    static uint8_t to_byte(float32_t v) {
        if(!(v > 0.0f)) return 0; // NaN too
        return (v >= 1.0f) ? 255 : uint8_t(v * 255.0f);
    }
    static uint32_t pack(float32_t x, float32_t y, float32_t z, float32_t w) {
        return uint32_t(to_byte(x)) | (uint32_t(to_byte(y)) << 8) | (uint32_t(to_byte(z)) << 16) |
               (uint32_t(to_byte(w)) << 24);
    }
    static float32_t byte(uint32_t bits, uint32_t index) { return float32_t((bits >> (index * 8)) & 255) / 255.0f; }
};

constexpr Color operator+(float32_t v, const Color &c) { return c + v; }
constexpr Color operator-(float32_t v, const Color &c) { return Color(v) - c; }
constexpr Color operator*(float32_t v, const Color &c) { return c * v; }
constexpr Color operator/(float32_t v, const Color &c) { return Color(v) / c; }

inline constexpr Color Color::zero = Color(0.0f, 0.0f, 0.0f, 0.0f);
inline constexpr Color Color::black = Color(0.0f, 0.0f, 0.0f);
inline constexpr Color Color::white = Color(1.0f, 1.0f, 1.0f);
inline constexpr Color Color::gray = Color(0.5f, 0.5f, 0.5f);
inline constexpr Color Color::red = Color(1.0f, 0.0f, 0.0f);
inline constexpr Color Color::yellow = Color(1.0f, 1.0f, 0.0f);
inline constexpr Color Color::green = Color(0.0f, 1.0f, 0.0f);
inline constexpr Color Color::cyan = Color(0.0f, 1.0f, 1.0f);
inline constexpr Color Color::blue = Color(0.0f, 0.0f, 1.0f);
inline constexpr Color Color::magenta = Color(1.0f, 0.0f, 1.0f);

} // namespace Ostrevan
