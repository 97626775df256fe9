// Searches of the block coders as plain loops.

#if defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#pragma GCC optimize("O3")
#endif

#define KOLM_CODER_BYTES 0
#define KOLM_CODER_NAME "plain"
#define KOLM_CODER_KERNELS coder_kernels_plain

#include "KolmCoderKernelsList.h"
