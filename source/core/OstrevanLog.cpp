#include <core/OstrevanLog.h>

#include "KolmLog.h"

namespace Ostrevan {

static_assert(int(Log::Fatal) == Kolm::Log::Fatal && int(Log::Error) == Kolm::Log::Error &&
              int(Log::Warning) == Kolm::Log::Warning && int(Log::Message) == Kolm::Log::Message &&
              int(Log::Verbose) == Kolm::Log::Verbose && int(Log::Unknown) == Kolm::Log::Unknown &&
              int(Log::NumLevels) == Kolm::Log::NumLevels);

namespace {

// The public callback, which the core log calls through a function of its own type.
constinit Log::Callback log_callback = nullptr;

bool run_callback(Kolm::Log::Level level, size_t time, const char *text, void *data) {
    const Log::Callback callback = log_callback; // may be removed while a message is on its way
    return callback && callback(static_cast<Log::Level>(level), time, text, data);
}

Kolm::Log::Level get_level(Log::Level level) { return static_cast<Kolm::Log::Level>(level); }

} // namespace

void Log::setLevel(Level level) { Kolm::Log::setLevel(get_level(level)); }
Log::Level Log::getLevel() { return static_cast<Level>(Kolm::Log::getLevel()); }

void Log::setCallback(Callback callback, void *data) {
    log_callback = callback;
    Kolm::Log::setCallback(callback ? run_callback : nullptr, data);
}
Log::Callback Log::getCallback() { return log_callback; }
void *Log::getCallbackData() { return Kolm::Log::getCallbackData(); }
void Log::lockCallback() { Kolm::Log::lockCallback(); }
void Log::unlockCallback() { Kolm::Log::unlockCallback(); }

void Log::print(const char *text) { Kolm::Log::print(text); }
void Log::vprintf(const char *format, va_list args) { Kolm::Log::vprintf(format, args); }
void Log::print(Level level, const char *text) { Kolm::Log::print(get_level(level), text); }
void Log::vprintf(Level level, const char *format, va_list args) { Kolm::Log::vprintf(get_level(level), format, args); }
void Log::printe(Level level, const char *text) { Kolm::Log::printe(get_level(level), text); }
void Log::vprintef(Level level, const char *format, va_list args) {
    Kolm::Log::vprintef(get_level(level), format, args);
}

void Log::printf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    Kolm::Log::vprintf(format, args);
    va_end(args);
}
void Log::printf(Level level, const char *format, ...) {
    va_list args;
    va_start(args, format);
    Kolm::Log::vprintf(get_level(level), format, args);
    va_end(args);
}
void Log::printef(Level level, const char *format, ...) {
    va_list args;
    va_start(args, format);
    Kolm::Log::vprintef(get_level(level), format, args);
    va_end(args);
}

} // namespace Ostrevan
