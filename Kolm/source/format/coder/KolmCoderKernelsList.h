// The set of kernels of the instruction set that the including file is compiled for, under the name
// KOLM_CODER_KERNELS.

#pragma once

#include "KolmCoderBC15.h"
#include "KolmCoderBC6.h"
#include "KolmCoderBC7.h"
#include "KolmCoderDecodeBC15.h"
#include "KolmCoderETC2.h"

namespace Kolm {

extern const CoderKernels KOLM_CODER_KERNELS;
const CoderKernels KOLM_CODER_KERNELS = {
    KOLM_CODER_NAME, BC15::encode_color, BC15::encode_alpha, BC6::encode,
    BC7::encode,     ETC2::encode_color, ETC2::encode_alpha, BC15::decode,
};

} // namespace Kolm
