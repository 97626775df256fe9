#pragma once

#include <format/OstrevanImageSampler.h>

#include "KolmImageSampler.h"
#include "OstrevanImageKolm.h"

namespace Ostrevan {

struct ImageSampler::ImageSamplerImpl : HandleImpl<ImageSampler, Kolm::ImageSampler> {};

static_assert(uint32_t(ImageSampler::NumFilters) == uint32_t(Kolm::ImageSampler::NumFilters));
static_assert(sizeof(ImageColor) == sizeof(Kolm::ImageColor) && alignof(ImageColor) == alignof(Kolm::ImageColor));

inline Kolm::ImageSampler::Filter getCore(ImageSampler::Filter filter) { return Kolm::ImageSampler::Filter(filter); }
inline Kolm::ImageColor getCore(const ImageColor &c) { return Kolm::ImageColor(c.uv[0], c.uv[1], c.uv[2], c.uv[3]); }
inline ImageColor getPublic(const Kolm::ImageColor &c) { return ImageColor(c.uv[0], c.uv[1], c.uv[2], c.uv[3]); }

} // namespace Ostrevan
