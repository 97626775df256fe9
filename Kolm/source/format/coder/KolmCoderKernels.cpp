// Which sets of kernels the processor runs.

#include "KolmCoderKernels.h"

namespace Kolm {

extern const CoderKernels coder_kernels_plain;
#if defined(__x86_64__)
extern const CoderKernels coder_kernels_sse4;
extern const CoderKernels coder_kernels_avx2;
#elif defined(__aarch64__)
extern const CoderKernels coder_kernels_neon;
#endif

const CoderKernels *getCoderKernels(uint32_t index) {
    const CoderKernels *kernels[4] = {&coder_kernels_plain};
    uint32_t num = 1;
#if defined(__x86_64__)
    if(__builtin_cpu_supports("sse4.1")) kernels[num++] = &coder_kernels_sse4;
    if(__builtin_cpu_supports("avx2")) kernels[num++] = &coder_kernels_avx2;
#elif defined(__aarch64__)
    kernels[num++] = &coder_kernels_neon;
#endif
    return (index < num) ? kernels[index] : nullptr;
}

const CoderKernels &getCoderKernels() {
    static const CoderKernels &fastest = *[]() {
        const CoderKernels *ret = getCoderKernels(0);
        for(uint32_t i = 1; getCoderKernels(i); i++) ret = getCoderKernels(i);
        return ret;
    }();
    return fastest;
}

} // namespace Kolm
