// KolmCaller.cpp: how the lines are put together.

#include "KolmCaller.h"

#include <stdarg.h>
#include <stdio.h>

namespace Kolm {

namespace {

void print(Log::Level level, const Caller &caller, const char *format, va_list args) {
    char text[512];
    vsnprintf(text, sizeof(text), format, args);
    Log::printf(level, "%s%s::%s(): %s\n", caller.self.getPlatformPrefix(), caller.name, caller.method, text);
}

} // namespace

void Caller::fail(const char *format, ...) const {
    char text[512];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    char line[640];
    snprintf(line, sizeof(line), "\"%s%s::%s(): %s\"", self.getPlatformPrefix(), name, method, text);
    assertion(line, __FILE__, __LINE__);
}

bool Caller::error(const char *format, ...) const {
    va_list args;
    va_start(args, format);
    print(Log::Error, *this, format, args);
    va_end(args);
    return false;
}

bool Caller::warning(const char *format, ...) const {
    va_list args;
    va_start(args, format);
    print(Log::Warning, *this, format, args);
    va_end(args);
    return false;
}

} // namespace Kolm
