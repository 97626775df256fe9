// Bridge of the value types of images: the same numbers and fields in both layers.

#pragma once

#include <format/OstrevanColor.h>
#include <format/OstrevanFormat.h>
#include <format/OstrevanSize.h>
#include <format/OstrevanSlice.h>

#include "KolmColor.h"
#include "KolmFormat.h"
#include "KolmSize.h"
#include "KolmSlice.h"

namespace Ostrevan {

#define FORMAT(NO, NAME, ...) static_assert(uint32_t(Format##NAME) == uint32_t(Kolm::Format##NAME));
#define RANGE(NAME, ...)                                                                 \
    static_assert(uint32_t(Format##NAME##Begin) == uint32_t(Kolm::Format##NAME##Begin)); \
    static_assert(uint32_t(Format##NAME##Back) == uint32_t(Kolm::Format##NAME##Back));
#include "KolmFormat.inc"
static_assert(uint32_t(NumFormats) == uint32_t(Kolm::NumFormats));

inline Kolm::Format getCore(Format format) {
    OSTREVAN_ASSERT(format < NumFormats && "Format: invalid format");
    return Kolm::Format(format);
}

inline Kolm::Size getCore(const Size &s) { return Kolm::Size(s.width, s.height, s.depth); }
inline Kolm::Origin getCore(const Origin &o) { return Kolm::Origin(o.x, o.y, o.z); }
inline Kolm::Region getCore(const Region &r) { return Kolm::Region(r.x, r.y, r.z, r.width, r.height, r.depth); }
inline Kolm::Slice getCore(const Slice &s) {
    return Kolm::Slice(Kolm::Face(s.face, s.faces), Kolm::Layer(s.layer, s.layers), Kolm::Mipmap(s.mipmap, s.mipmaps));
}
inline Kolm::Color getCore(const Color &c) { return Kolm::Color(c.r, c.g, c.b, c.a); }

inline Size getPublic(const Kolm::Size &s) { return Size(s.width, s.height, s.depth); }
inline Origin getPublic(const Kolm::Origin &o) { return Origin(o.x, o.y, o.z); }
inline Region getPublic(const Kolm::Region &r) { return Region(r.x, r.y, r.z, r.width, r.height, r.depth); }
inline Slice getPublic(const Kolm::Slice &s) {
    return Slice(Face(s.face, s.faces), Layer(s.layer, s.layers), Mipmap(s.mipmap, s.mipmaps));
}
inline Color getPublic(const Kolm::Color &c) { return Color(c.r, c.g, c.b, c.a); }

} // namespace Ostrevan
