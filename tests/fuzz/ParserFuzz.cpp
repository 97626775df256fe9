// Fuzz entry of the scanning functions. Build with `clang++ -fsanitize=fuzzer,address,undefined`.
//
// The first byte picks a function, the rest is the text. A function may throw a String, must not read behind the
// terminator, and must not consume more than there is.

#include <stdlib.h>

#include "KolmParser.h"

using namespace Kolm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if(size == 0) return 0;
    char *src = static_cast<char *>(malloc(size));
    memcpy(src, data + 1, size - 1);
    src[size - 1] = '\0';
    String dest;
    uint32_t lines = 0;
    uint32_t ret = 0;
    try {
        switch(data[0] % 19) {
        case 0: ret = Parser::skipSpaces(src, lines); break;
        case 1: ret = Parser::skipComment(src, lines); break;
        case 2: ret = Parser::expectSymbol(src, ';', lines); break;
        case 3: ret = Parser::expectSymbol(src, '\n'); break;
        case 4: ret = Parser::readToken(src, dest, ",;(){}"); break;
        case 5: ret = Parser::readToken(src, dest); break;
        case 6: ret = Parser::expectToken(src, "token", ";"); break;
        case 7: ret = Parser::readName(src, dest); break;
        case 8: ret = Parser::readFloat(src, dest); break;
        case 9: ret = Parser::readDecimal(src, dest); break;
        case 10: ret = Parser::readHexadecimal(src, dest); break;
        case 11: ret = Parser::readNumber(src, dest); break;
        case 12: ret = Parser::readSymbol(src, dest); break;
        case 13: ret = Parser::readString(src, dest); break;
        case 14: ret = Parser::readRegion(src, dest, '(', ')'); break;
        case 15: ret = Parser::readRegion(src, dest, '{', '}', true, true); break;
        case 16: ret = Parser::readLine(src, dest, true); break;
        case 17: ret = Parser::skipLines(src, 3) + (Parser::isFloat(src) && Parser::isSigned(src)); break;
        case 18: {
            char *text = static_cast<char *>(malloc(size > 1 ? size - 1 : 1)); // no terminator
            memcpy(text, data + 1, size - 1);
            if(Parser::readBom(text, dest, true, size - 1) > size - 1) abort();
            free(text);
            break;
        }
        }
    } catch(const String &) {}
    if(ret > size - 1) abort();
    free(src);
    return 0;
}
