#include <core/OstrevanParser.h>

#include "KolmParser.h"
#include "OstrevanStringKolm.h"

namespace Ostrevan {

// Texts that the core throws leave as public strings: its own type is not known outside.
template<class Func> static uint32_t scan(const char *src, const Func &func) {
    OSTREVAN_ASSERT(src && "Parser::scan(): invalid text");
    try {
        return func();
    } catch(Kolm::String &text) {
        throw String::StringImpl::TS(std::move(text));
    }
}

void Parser::error(const char *format, ...) {
    va_list args;
    va_start(args, format);
    String text = String::vformat(format, args);
    va_end(args);
    throw text;
}

bool Parser::isComment(const char *src) {
    OSTREVAN_ASSERT(src && "Parser::isComment(): invalid text");
    return Kolm::Parser::isComment(src);
}
bool Parser::isNumber(const char *src) {
    OSTREVAN_ASSERT(src && "Parser::isNumber(): invalid text");
    return Kolm::Parser::isNumber(src);
}
bool Parser::isFloat(const char *src) {
    OSTREVAN_ASSERT(src && "Parser::isFloat(): invalid text");
    return Kolm::Parser::isFloat(src);
}
bool Parser::isSigned(const char *src) {
    OSTREVAN_ASSERT(src && "Parser::isSigned(): invalid text");
    return Kolm::Parser::isSigned(src);
}
bool Parser::isUnsigned(const char *src) {
    OSTREVAN_ASSERT(src && "Parser::isUnsigned(): invalid text");
    return Kolm::Parser::isUnsigned(src);
}
bool Parser::isBom(const char *src) {
    OSTREVAN_ASSERT(src && "Parser::isBom(): invalid text");
    return Kolm::Parser::isBom(src);
}
char Parser::getSymbol(const char *src) {
    OSTREVAN_ASSERT(src && "Parser::getSymbol(): invalid text");
    return Kolm::Parser::getSymbol(src);
}
uint32_t Parser::skipSpaces(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipSpaces(src); });
}
uint32_t Parser::skipSpaces(const char *src, uint32_t &lines) {
    return scan(src, [&] { return Kolm::Parser::skipSpaces(src, lines); });
}
uint32_t Parser::skipComment(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipComment(src); });
}
uint32_t Parser::skipComment(const char *src, uint32_t &lines) {
    return scan(src, [&] { return Kolm::Parser::skipComment(src, lines); });
}
uint32_t Parser::expectSymbol(const char *src, char symbol) {
    return scan(src, [&] { return Kolm::Parser::expectSymbol(src, symbol); });
}
uint32_t Parser::expectSymbol(const char *src, char symbol, uint32_t &lines) {
    return scan(src, [&] { return Kolm::Parser::expectSymbol(src, symbol, lines); });
}
uint32_t Parser::skipToken(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipToken(src); });
}
uint32_t Parser::skipToken(const char *src, const char *delimiters) {
    return scan(src, [&] { return Kolm::Parser::skipToken(src, delimiters); });
}
uint32_t Parser::readToken(const char *src, String &dest, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readToken(src, dest.impl().ref(), clear); });
}
uint32_t Parser::readToken(const char *src, String &dest, const char *delimiters, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readToken(src, dest.impl().ref(), delimiters, clear); });
}
uint32_t Parser::expectToken(const char *src, const char *token) {
    return scan(src, [&] { return Kolm::Parser::expectToken(src, token); });
}
uint32_t Parser::expectToken(const char *src, const char *token, const char *delimiters) {
    return scan(src, [&] { return Kolm::Parser::expectToken(src, token, delimiters); });
}
uint32_t Parser::skipName(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipName(src); });
}
uint32_t Parser::readName(const char *src, String &dest, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readName(src, dest.impl().ref(), clear); });
}
uint32_t Parser::expectName(const char *src, const char *name) {
    return scan(src, [&] { return Kolm::Parser::expectName(src, name); });
}
uint32_t Parser::skipFloat(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipFloat(src); });
}
uint32_t Parser::readFloat(const char *src, String &dest, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readFloat(src, dest.impl().ref(), clear); });
}
uint32_t Parser::skipDecimal(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipDecimal(src); });
}
uint32_t Parser::readDecimal(const char *src, String &dest, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readDecimal(src, dest.impl().ref(), clear); });
}
uint32_t Parser::skipHexadecimal(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipHexadecimal(src); });
}
uint32_t Parser::readHexadecimal(const char *src, String &dest, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readHexadecimal(src, dest.impl().ref(), clear); });
}
uint32_t Parser::skipNumber(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipNumber(src); });
}
uint32_t Parser::readNumber(const char *src, String &dest, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readNumber(src, dest.impl().ref(), clear); });
}
uint32_t Parser::skipSymbol(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipSymbol(src); });
}
uint32_t Parser::readSymbol(const char *src, String &dest, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readSymbol(src, dest.impl().ref(), clear); });
}
uint32_t Parser::skipString(const char *src) {
    return scan(src, [&] { return Kolm::Parser::skipString(src); });
}
uint32_t Parser::readString(const char *src, String &dest, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readString(src, dest.impl().ref(), clear); });
}
uint32_t Parser::readRegion(const char *src, String &dest, char open, char close, bool clear, bool brackets) {
    return scan(src, [&] { return Kolm::Parser::readRegion(src, dest.impl().ref(), open, close, clear, brackets); });
}
uint32_t Parser::skipLines(const char *src, uint32_t count) {
    return scan(src, [&] { return Kolm::Parser::skipLines(src, count); });
}
uint32_t Parser::skipLine(const char *src, bool empty) {
    return scan(src, [&] { return Kolm::Parser::skipLine(src, empty); });
}
uint32_t Parser::readLine(const char *src, String &dest, bool empty, bool clear) {
    return scan(src, [&] { return Kolm::Parser::readLine(src, dest.impl().ref(), empty, clear); });
}
uint32_t Parser::readBom(const char *src, String &dest, bool clear, size_t size) {
    return scan(src, [&] { return Kolm::Parser::readBom(src, dest.impl().ref(), clear, size); });
}

} // namespace Ostrevan
