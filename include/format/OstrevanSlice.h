// Faces, layers and mipmaps: which parts of an image or texture an operation takes. Plain records.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// Range of cube faces.
struct Face {
    constexpr Face() = default;
    constexpr Face(uint32_t base) : base(base) {}
    constexpr Face(uint32_t base, uint32_t size) : base(base), size(size) {}
    constexpr bool operator==(const Face &f) const { return base == f.base && size == f.size; }
    constexpr bool operator!=(const Face &f) const { return !(*this == f); }
    uint32_t base = 0;
    uint32_t size = 1;
};

/// Range of array layers.
struct Layer {
    constexpr Layer() = default;
    constexpr Layer(uint32_t base) : base(base) {}
    constexpr Layer(uint32_t base, uint32_t size) : base(base), size(size) {}
    constexpr bool operator==(const Layer &l) const { return base == l.base && size == l.size; }
    constexpr bool operator!=(const Layer &l) const { return !(*this == l); }
    uint32_t base = 0;
    uint32_t size = 1;
};

/// Range of mipmap levels.
struct Mipmap {
    constexpr Mipmap() = default;
    constexpr Mipmap(uint32_t base) : base(base) {}
    constexpr Mipmap(uint32_t base, uint32_t size) : base(base), size(size) {}
    constexpr bool operator==(const Mipmap &m) const { return base == m.base && size == m.size; }
    constexpr bool operator!=(const Mipmap &m) const { return !(*this == m); }
    uint32_t base = 0;
    uint32_t size = 1;
};

/// Part of an image: by default face 0 of 1, layer 0 of 1 and mipmap 0 of 1.
struct Slice {
    constexpr Slice() = default;
    constexpr Slice(const Face &f) { setFace(f.base, f.size); }
    constexpr Slice(const Layer &l) { setLayer(l.base, l.size); }
    constexpr Slice(const Mipmap &m) { setMipmap(m.base, m.size); }
    constexpr Slice(const Face &f, const Layer &l) : Slice(f) { setLayer(l.base, l.size); }
    constexpr Slice(const Face &f, const Mipmap &m) : Slice(f) { setMipmap(m.base, m.size); }
    constexpr Slice(const Layer &l, const Face &f) : Slice(f, l) {}
    constexpr Slice(const Layer &l, const Mipmap &m) : Slice(l) { setMipmap(m.base, m.size); }
    constexpr Slice(const Mipmap &m, const Face &f) : Slice(f, m) {}
    constexpr Slice(const Mipmap &m, const Layer &l) : Slice(l, m) {}
    constexpr Slice(const Face &f, const Layer &l, const Mipmap &m) : Slice(f, l) { setMipmap(m.base, m.size); }
    constexpr Slice(const Layer &l, const Face &f, const Mipmap &m) : Slice(f, l, m) {}

    constexpr bool hasFaces() const { return faces > 1; }
    constexpr bool hasLayers() const { return layers > 1; }
    constexpr bool hasMipmaps() const { return mipmaps > 1; }

    constexpr Face getFace() const { return Face(face, faces); }
    constexpr Layer getLayer() const { return Layer(layer, layers); }
    constexpr Mipmap getMipmap() const { return Mipmap(mipmap, mipmaps); }

    constexpr Slice &setFace(uint32_t base, uint32_t size = 1) {
        face = base;
        faces = size;
        return *this;
    }
    constexpr Slice &setLayer(uint32_t base, uint32_t size = 1) {
        layer = base;
        layers = size;
        return *this;
    }
    constexpr Slice &setMipmap(uint32_t base, uint32_t size = 1) {
        mipmap = base;
        mipmaps = size;
        return *this;
    }

    /// This slice's bases with the sizes of \p slice, if none of these is 0; otherwise this slice.
    constexpr Slice setSize(const Slice &slice) const {
        Slice ret = *this;
        if(slice.faces && slice.layers && slice.mipmaps) {
            ret.faces = slice.faces;
            ret.layers = slice.layers;
            ret.mipmaps = slice.mipmaps;
        }
        return ret;
    }
    /// This slice without its first parts, as many as the bases of \p slice tell, if some part of each kind is left;
    /// otherwise this slice.
    constexpr Slice addBase(const Slice &slice) const {
        Slice ret = *this;
        if(slice.face < faces && slice.layer < layers && slice.mipmap < mipmaps) {
            ret.face += slice.face;
            ret.faces -= slice.face;
            ret.layer += slice.layer;
            ret.layers -= slice.layer;
            ret.mipmap += slice.mipmap;
            ret.mipmaps -= slice.mipmap;
        }
        return ret;
    }

    constexpr bool operator==(const Slice &s) const {
        return getFace() == s.getFace() && getLayer() == s.getLayer() && getMipmap() == s.getMipmap();
    }
    constexpr bool operator!=(const Slice &s) const { return !(*this == s); }

    uint32_t face = 0;
    uint32_t faces = 1;
    uint32_t layer = 0;
    uint32_t layers = 1;
    uint32_t mipmap = 0;
    uint32_t mipmaps = 1;
};

} // namespace Ostrevan
