#pragma once

#include <platform/OstrevanSampler.h>

#include "KolmSampler.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Sampler::SamplerImpl : HandleImpl<Sampler, Kolm::Sampler> {};

static_assert(int(Sampler::MaxAnisotropy) == int(Kolm::Sampler::MaxAnisotropy));
static_assert(int(Sampler::FilterTrilinear) == int(Kolm::Sampler::FilterTrilinear));
static_assert(int(Sampler::NumFilters) == int(Kolm::Sampler::NumFilters));
static_assert(int(Sampler::WrapModeBorder) == int(Kolm::Sampler::WrapModeBorder));
static_assert(int(Sampler::NumWrapModes) == int(Kolm::Sampler::NumWrapModes));
static_assert(int(Sampler::CompareFuncGreaterEqual) == int(Kolm::Sampler::CompareFuncGreaterEqual));
static_assert(int(Sampler::NumCompareFunctions) == int(Kolm::Sampler::NumCompareFunctions));
static_assert(int(Sampler::ReductionModeMax) == int(Kolm::Sampler::ReductionModeMax));
static_assert(int(Sampler::NumReductionModes) == int(Kolm::Sampler::NumReductionModes));

} // namespace Ostrevan
