// Scanning of texts: the functions that text formats are read with.
//
// Each takes the text at the current position and returns how many bytes it consumed, so that a caller advances with
// `src += Parser::skipSpaces(src)`.

#pragma once

#include <core/OstrevanString.h>

namespace Ostrevan {

/// Static functions over terminated texts. White space is tab, newline, carriage return and space; all functions skip
/// it in front of what they read. A text that isn't what it should be leaves by error(), which throws a String: callers
/// catch it at the top of their operation. Functions with `lines` add the newlines that they pass. Functions with
/// `clear` empty the destination first unless it is false.
class OSTREVAN_API Parser {
public:
    /// Throws the formatted text as a String.
    [[noreturn]] static void error(const char *format, ...) OSTREVAN_PRINTF(1, 2);

    // What comes next; nothing is consumed

    /// `//` or `/*`.
    static bool isComment(const char *src);
    /// A digit, or `.` and a digit, behind an optional sign.
    static bool isNumber(const char *src);
    /// The same, where the digits are followed by `.` or an exponent.
    static bool isFloat(const char *src);
    /// Digits behind a sign, and no float.
    static bool isSigned(const char *src);
    /// Digits without sign, and no float.
    static bool isUnsigned(const char *src);
    /// A byte order mark of UTF-8 or UTF-16.
    static bool isBom(const char *src);
    /// The next character that isn't white space, 0 at the end.
    static char getSymbol(const char *src);

    // Spaces and symbols

    static uint32_t skipSpaces(const char *src);
    static uint32_t skipSpaces(const char *src, uint32_t &lines);
    /// White space and one comment, if there is one: up to and with the newline, the `*/` or the end of the text.
    static uint32_t skipComment(const char *src);
    static uint32_t skipComment(const char *src, uint32_t &lines);
    /// Newlines are not skipped in front of a newline.
    static uint32_t expectSymbol(const char *src, char symbol);
    static uint32_t expectSymbol(const char *src, char symbol, uint32_t &lines);

    // Words

    /// A word up to white space, the end or a byte of \p delimiters. A delimiter at the start is a word of its own.
    static uint32_t skipToken(const char *src);
    static uint32_t skipToken(const char *src, const char *delimiters);
    static uint32_t readToken(const char *src, String &dest, bool clear = true);
    static uint32_t readToken(const char *src, String &dest, const char *delimiters, bool clear = true);
    static uint32_t expectToken(const char *src, const char *token);
    static uint32_t expectToken(const char *src, const char *token, const char *delimiters);
    /// A letter or `_`, then letters, digits and `_`.
    static uint32_t skipName(const char *src);
    static uint32_t readName(const char *src, String &dest, bool clear = true);
    static uint32_t expectName(const char *src, const char *name);

    // Numbers; the text that is read has no blank behind the sign

    /// Optional sign, digits with at most one point, optional exponent.
    static uint32_t skipFloat(const char *src);
    static uint32_t readFloat(const char *src, String &dest, bool clear = true);
    /// Optional sign, digits.
    static uint32_t skipDecimal(const char *src);
    static uint32_t readDecimal(const char *src, String &dest, bool clear = true);
    /// Optional sign, optional `0x`, hexadecimal digits.
    static uint32_t skipHexadecimal(const char *src);
    static uint32_t readHexadecimal(const char *src, String &dest, bool clear = true);
    /// A hexadecimal number if it has the prefix `0x`, a float otherwise.
    static uint32_t skipNumber(const char *src);
    static uint32_t readNumber(const char *src, String &dest, bool clear = true);

    // Literals and regions

    /// A literal in single quotes, on one line. It ends at a quote that doesn't follow a backslash. What is read is the
    /// text between the quotes, escapes as they stand.
    static uint32_t skipSymbol(const char *src);
    static uint32_t readSymbol(const char *src, String &dest, bool clear = true);
    /// The same in double quotes.
    static uint32_t skipString(const char *src);
    static uint32_t readString(const char *src, String &dest, bool clear = true);
    /// A region from \p open to its matching \p close, brackets in double quotes and comments not counted. What is
    /// read is the text between the brackets, or with them if \p brackets is set.
    static uint32_t readRegion(const char *src, String &dest, char open, char close, bool clear = true,
                               bool brackets = false);

    // Lines

    /// \p count lines with their newlines, fewer at the end of the text.
    static uint32_t skipLines(const char *src, uint32_t count);
    /// A line with its newline, and with \p empty all lines of nothing but white space in front of it.
    static uint32_t skipLine(const char *src, bool empty = false);
    /// The same; what is read has no newline and no carriage return before it.
    static uint32_t readLine(const char *src, String &dest, bool empty = false, bool clear = true);

    /// The text behind a byte order mark, converted to UTF-8. It ends at a zero unit of the mark's width or after
    /// \p size bytes, which must be given for a text that lacks such an end. UTF-32 is told from UTF-16 by its size.
    static uint32_t readBom(const char *src, String &dest, bool clear = true, size_t size = SIZE_MAX);
};

} // namespace Ostrevan
