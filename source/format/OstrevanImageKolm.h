#pragma once

#include <format/OstrevanImage.h>

#include "KolmImage.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"

namespace Ostrevan {

struct Image::ImageImpl : HandleImpl<Image, Kolm::Image> {};

#define IMAGE_ENUM(NAME) static_assert(uint32_t(Image::NAME) == uint32_t(Kolm::Image::NAME));
IMAGE_ENUM(Type2D)
IMAGE_ENUM(Type3D)
IMAGE_ENUM(TypeCube)
IMAGE_ENUM(NumTypes)
IMAGE_ENUM(FlagMipmaps)
IMAGE_ENUM(FlagNoClear)
IMAGE_ENUM(FlagNoAllocate)
IMAGE_ENUM(FlagFast)
IMAGE_ENUM(FlagBest)
IMAGE_ENUM(FlagPerceptual)
IMAGE_ENUM(FlagPanorama)
IMAGE_ENUM(FlagNormalize)
IMAGE_ENUM(FlagGamma)
IMAGE_ENUM(FlagSRGB)
IMAGE_ENUM(NumFlags)
IMAGE_ENUM(FilterPoint)
IMAGE_ENUM(FilterLinear)
IMAGE_ENUM(FilterCubic)
IMAGE_ENUM(FilterSinc)
IMAGE_ENUM(FilterBox)
IMAGE_ENUM(FilterMax)
IMAGE_ENUM(FilterMin)
IMAGE_ENUM(FilterMip)
IMAGE_ENUM(FilterCR)
IMAGE_ENUM(NumFilters)
#undef IMAGE_ENUM

inline Kolm::Image::Type getCore(Image::Type type) { return Kolm::Image::Type(type); }
inline Kolm::Image::Flags getCore(Image::Flags flags) { return Kolm::Image::Flags(flags); }
inline Kolm::Image::Filter getCore(Image::Filter filter) { return Kolm::Image::Filter(filter); }

} // namespace Ostrevan
