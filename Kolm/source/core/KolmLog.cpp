#include "KolmLog.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/time.h>

namespace Kolm {

// Constant-initialised: static constructors of other files may log before this file's own would run.
constinit Log::Level Log::level = Log::Verbose;
constinit Log::Callback Log::callback = nullptr;
constinit void *Log::callback_data = nullptr;
constinit SpinLock Log::lock;
constinit bool Log::is_carriage = false;
constinit bool Log::initialized = false;
constinit bool Log::color_term = false;

namespace {

constexpr const char *level_prefixes[Log::NumLevels] = {"F: ", "E: ", "W: ", "M: ", "V: ", ""};
constexpr const char *level_colors[Log::NumLevels] = {"\033[01;35m", "\033[01;31m", "\033[01;33m"};

// The text may come from anywhere: a level that does not exist prints without prefix, a null text is empty.
Log::Level check_level(Log::Level level) { return (uint32_t(level) < Log::NumLevels) ? level : Log::Unknown; }
const char *check_text(const char *text) { return text ? text : ""; }

void write_time(FILE *file, size_t time) {
    const size_t seconds = time / 1000000;
    const uint32_t u = uint32_t(time % 1000000);
    const uint32_t h = uint32_t(seconds / 3600);
    const uint32_t m = uint32_t((seconds % 3600) / 60);
    const uint32_t s = uint32_t(seconds % 60);
    if(seconds >= 3600)
        fprintf(file, "%u:%02u:%02u.%03u: ", h, m, s, u / 1000);
    else if(seconds % 3600 >= 60)
        fprintf(file, "%2u:%02u.%03u: ", m, s, u / 1000);
    else if(s)
        fprintf(file, " %2u.%03u s: ", s, u / 1000);
    else if(u >= 1000)
        fprintf(file, "%3u.%02u ms: ", u / 1000, (u % 1000) / 10);
    else
        fprintf(file, "   %3u us: ", u);
}

} // namespace

void Log::setLevel(Level l) { level = l; }
Log::Level Log::getLevel() { return level; }

void Log::setCallback(Callback func, void *data) {
    callback = func;
    callback_data = data;
}
Log::Callback Log::getCallback() { return callback; }
void *Log::getCallbackData() { return callback_data; }

void Log::lockCallback() { lock.lock(); }
void Log::unlockCallback() { lock.unlock(); }

// Microseconds since the first call. A clock that is set back stands still until it has caught up.
size_t Log::get_time() {
    static constinit bool has_offset = false;
    static constinit int64_t offset = 0;
    static constinit int64_t last = 0;
    timeval value = {};
    gettimeofday(&value, nullptr);
    const int64_t time = int64_t(value.tv_sec) * 1000000 + value.tv_usec;
    if(!has_offset) {
        offset = time;
        has_offset = true;
    }
    last = (time - offset > last) ? time - offset : last;
    return size_t(last);
}

void Log::write_carriage(FILE *file, const char *text) {
    if(is_carriage && text[0] != '\r') fputc('\n', file);
}

void Log::write_message(Level l, size_t time, const char *text) {
    if(!initialized) {
        const char *term = getenv("TERM");
        color_term = (term && strcmp(term, "dumb") != 0);
        initialized = true;
    }
    FILE *file = (l <= Error) ? stderr : stdout;
    const bool is_color = (color_term && l <= Warning);
    if(is_color) fputs(level_colors[l], file);
    write_carriage(file, text);
    fputs(level_prefixes[l], file);
    write_time(file, time);
    fputs(text, file);
    fflush(file);
    // The colour ends on stdout whichever stream had the text. Kept.
    if(is_color) {
        fputs("\033[m", stdout);
        fflush(stdout);
    }
    if(l == Fatal) abort();
    is_carriage = (text[0] == '\r');
}

void Log::print(const char *text) {
    text = check_text(text);
    AtomicLock atomic(lock); // also released when the callback throws
    if(callback && callback(Unknown, get_time(), text, callback_data)) return;
    write_carriage(stdout, text);
    fputs(text, stdout);
    fflush(stdout);
    is_carriage = (text[0] == '\r');
}

void Log::vprintf(const char *format, va_list args) {
    char text[text_size];
    vsnprintf(text, sizeof(text), format, args);
    print(text);
}

void Log::printf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}

void Log::print(Level l, const char *text) {
    l = check_level(l);
    text = check_text(text);
    AtomicLock atomic(lock); // also released when the callback throws
    const size_t time = get_time();
    if(callback && callback(l, time, text, callback_data)) return;
    if(level < l) return;
    write_message(l, time, text);
}

void Log::vprintf(Level l, const char *format, va_list args) {
    char text[text_size];
    vsnprintf(text, sizeof(text), format, args);
    print(l, text);
}

void Log::printf(Level l, const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(l, format, args);
    va_end(args);
}

void Log::printe(Level l, const char *text) {
    const int error = errno;
    if(error == 0) return print(l, text);
    char reason[256];
    char buffer[text_size];
    snprintf(buffer, sizeof(buffer), "%s%s\n", check_text(text), strerror_r(error, reason, sizeof(reason)));
    print(l, buffer);
}

void Log::vprintef(Level l, const char *format, va_list args) {
    const int error = errno; // formatting may change it
    char text[text_size];
    vsnprintf(text, sizeof(text), format, args);
    errno = error;
    printe(l, text);
}

void Log::printef(Level l, const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprintef(l, format, args);
    va_end(args);
}

} // namespace Kolm
