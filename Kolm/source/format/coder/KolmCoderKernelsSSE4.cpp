// Searches of the block coders with SSE4.

#if defined(__x86_64__)

#if defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#pragma GCC optimize("O3")
#endif

#define KOLM_CODER_BYTES 16
#define KOLM_CODER_NAME "sse4.1"
#define KOLM_CODER_KERNELS coder_kernels_sse4

#include "KolmCoderKernelsList.h"

#endif
