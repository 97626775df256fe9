#include "OstrevanHandleKolm.h"

#include <stdio.h>

// Only there in programs that run under a leak checker.
extern "C" __attribute__((weak)) void __lsan_ignore_object(const void *ptr);

namespace Ostrevan {

void handleAbandon(const void *counter) {
    if(__lsan_ignore_object) __lsan_ignore_object(counter);
}

void assertion(const char *expr, const char *file, int32_t line) { Kolm::assertion(expr, file, line); }

void handleAssertion(const char *condition, const char *name, const char *text, int32_t line) {
    char expr[256];
    snprintf(expr, sizeof(expr), "%s && \"%s\" \"Impl::%s\"", condition, name, text);
    Kolm::assertion(expr, "OstrevanHandleKolm.h", line);
}

void handleCloneAssertion(const char *name, int32_t line) {
    char expr[256];
    snprintf(expr, sizeof(expr), "0 && \"%s\" \"::\" \"%s\" \"::clonePtr(): can't clone noncopy class\"", name, name);
    Kolm::assertion(expr, "OstrevanHandleKolm.h", line);
}

} // namespace Ostrevan
