// Searches of the block coders with NEON.

#if defined(__aarch64__)

#if defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#pragma GCC optimize("O3")
#endif

#define KOLM_CODER_BYTES 16
#define KOLM_CODER_NAME "neon"
#define KOLM_CODER_KERNELS coder_kernels_neon

#include "KolmCoderKernelsList.h"

#endif
