#pragma once

#include <platform/OstrevanVKSampler.h>

#include "OstrevanSamplerKolm.h"
#include "VKSampler.h"

namespace Ostrevan {

struct VKSampler::VKSamplerImpl : HandleImpl<VKSampler, Kolm::VKSampler, Sampler> {};

} // namespace Ostrevan
