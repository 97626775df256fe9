// Every diagnostic of the library, and of the application if it wants, leaves through Log.

#pragma once

#include <stdarg.h>

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// Levelled text output for the whole process. All members are static and may be used before and after
/// the static constructors of other files ran: the state is constant-initialised.
///
/// Output is serialised by a spin lock. A callback runs with that lock held: to log from inside a callback,
/// put unlockCallback() and lockCallback() around the call.
class OSTREVAN_API Log {
public:
    enum Level {
        Fatal = 0, ///< printed to stderr, then the process is aborted
        Error,     ///< printed to stderr
        Warning,
        Message,
        Verbose,
        Unknown, ///< text without level, prefix and time stamp
        NumLevels
    };

    /// Sees every text, also those that the threshold hides. \p time is in microseconds since the first message.
    /// A true result takes the text off the output.
    using Callback = bool (*)(Level level, size_t time, const char *text, void *data);

    /// Messages above \p level are not printed. The default is Verbose. Not synchronised with running prints.
    static void setLevel(Level level);
    static Level getLevel();

    /// Null \p callback removes the callback. Not synchronised with running prints.
    static void setCallback(Callback callback, void *data = nullptr);
    static Callback getCallback();
    static void *getCallbackData();

    /// Takes and releases the output lock. Only for use inside a callback: unlock, log, lock.
    static void lockCallback();
    static void unlockCallback();

    /// Writes \p text as it is to stdout: no prefix, no time stamp, no threshold. A text that begins with
    /// a carriage return is a progress line, which the next ordinary text closes with a newline.
    static void print(const char *text);
    static void vprintf(const char *format, va_list args) OSTREVAN_PRINTF(1, 0);
    static void printf(const char *format, ...) OSTREVAN_PRINTF(1, 2);

    /// Writes \p text with the level's prefix and the time stamp. Formatted text is cut at 32767 bytes.
    static void print(Level level, const char *text);
    static void vprintf(Level level, const char *format, va_list args) OSTREVAN_PRINTF(2, 0);
    static void printf(Level level, const char *format, ...) OSTREVAN_PRINTF(2, 3);

    /// The same with the system's message for errno behind the text, if errno is not zero.
    static void printe(Level level, const char *text);
    static void vprintef(Level level, const char *format, va_list args) OSTREVAN_PRINTF(2, 0);
    static void printef(Level level, const char *format, ...) OSTREVAN_PRINTF(2, 3);
};

} // namespace Ostrevan
