// What all objects of the stub backend share: a platform to stand for, and the list of calls that would have reached a
// driver, each one line of text.

#pragma once

#include <stdarg.h>
#include <stdio.h>
#include <string>
#include <vector>

#include "KolmPlatform.h"

/// What reached the driver, in order.
struct StubCalls {
    std::vector<std::string> lines;

    void add(const char *format, ...) KOLM_PRINTF(2, 3) {
        char text[256];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        lines.push_back(text);
    }
    std::string take() {
        std::string text;
        for(const std::string &line : lines) text += line + "\n";
        lines.clear();
        return text;
    }
};

/// Platform that a stub object stands for.
template<class Base> class StubObject : public Base {
public:
    template<class... Args> StubObject(Kolm::Platform platform, Args &&...args) : Base(args...), platform(platform) {}
    Kolm::Platform getPlatform() const override { return platform; }

    Kolm::Platform platform;
};
