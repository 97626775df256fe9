#include "KolmBase.h"

#include <stdio.h>
#include <stdlib.h>

namespace Kolm {

void assertion(const char *expr, const char *file, int32_t line) {
    fflush(stdout);
    fprintf(stderr, "%s:%d: assertion failed: %s\n", file, line, expr);
    fflush(stderr);
    abort();
}

} // namespace Kolm
