// Searches of the block coders with AVX2.

#if defined(__x86_64__)

#if defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#pragma GCC optimize("O3")
#endif

#define KOLM_CODER_BYTES 32
#define KOLM_CODER_NAME "avx2"
#define KOLM_CODER_KERNELS coder_kernels_avx2

#include "KolmCoderKernelsList.h"

#endif
