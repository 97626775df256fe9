// Sizes, origins and regions in pixels. Plain records.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

struct Origin;
struct Region;

/// Extents in pixels. A missing dimension is 1.
struct Size {
    constexpr Size() = default;
    constexpr explicit Size(uint32_t width) : width(width) {}
    constexpr Size(uint32_t width, uint32_t height) : width(width), height(height) {}
    constexpr Size(uint32_t width, uint32_t height, uint32_t depth) : width(width), height(height), depth(depth) {}

    /// True if the pixel at \p origin, or the whole of \p region, lies inside.
    constexpr bool inside(const Origin &origin) const;
    constexpr bool inside(const Region &region) const;

    constexpr bool operator==(const Size &s) const {
        return width == s.width && height == s.height && depth == s.depth;
    }
    constexpr bool operator!=(const Size &s) const { return !(*this == s); }

    uint32_t width = 1;
    uint32_t height = 1;
    uint32_t depth = 1;
};

/// Position in pixels. A missing coordinate is 0.
struct Origin {
    constexpr Origin() = default;
    constexpr explicit Origin(uint32_t x) : x(x) {}
    constexpr Origin(uint32_t x, uint32_t y) : x(x), y(y) {}
    constexpr Origin(uint32_t x, uint32_t y, uint32_t z) : x(x), y(y), z(z) {}

    constexpr bool operator==(const Origin &o) const { return x == o.x && y == o.y && z == o.z; }
    constexpr bool operator!=(const Origin &o) const { return !(*this == o); }

    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t z = 0;
};

/// Box in pixels.
struct Region {
    constexpr Region() = default;
    constexpr Region(const Origin &origin, const Size &size)
        : x(origin.x), y(origin.y), z(origin.z), width(size.width), height(size.height), depth(size.depth) {}
    constexpr Region(const Size &size) : width(size.width), height(size.height), depth(size.depth) {}
    constexpr Region(uint32_t width, uint32_t height) : width(width), height(height) {}
    constexpr Region(uint32_t width, uint32_t height, uint32_t depth) : width(width), height(height), depth(depth) {}
    constexpr Region(uint32_t x, uint32_t y, uint32_t width, uint32_t height)
        : x(x), y(y), width(width), height(height) {}
    constexpr Region(uint32_t x, uint32_t y, uint32_t z, uint32_t width, uint32_t height, uint32_t depth)
        : x(x), y(y), z(z), width(width), height(height), depth(depth) {}

    constexpr Origin getOrigin() const { return Origin(x, y, z); }
    constexpr Size getSize() const { return Size(width, height, depth); }

    constexpr bool operator==(const Region &r) const {
        return getOrigin() == r.getOrigin() && getSize() == r.getSize();
    }
    constexpr bool operator!=(const Region &r) const { return !(*this == r); }

    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t z = 0;
    uint32_t width = 1;
    uint32_t height = 1;
    uint32_t depth = 1;
};

constexpr bool Size::inside(const Origin &origin) const {
    return origin.x < width && origin.y < height && origin.z < depth;
}
constexpr bool Size::inside(const Region &region) const {
    return inside(region.getOrigin()) && region.width <= width - region.x && region.height <= height - region.y &&
           region.depth <= depth - region.z;
}

} // namespace Ostrevan
