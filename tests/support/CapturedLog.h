// Keeps all messages of the library off the terminal, in a list to look at.

#pragma once

#include <string>
#include <vector>

#include "KolmLog.h"

class CapturedLog {
public:
    CapturedLog() { Kolm::Log::setCallback(append, this); }
    ~CapturedLog() { Kolm::Log::setCallback(nullptr); }

    void clear() { lines.clear(); }
    size_t size() const { return lines.size(); }
    /// All messages in one text.
    std::string text() const {
        std::string ret;
        for(const std::string &line : lines) ret += line;
        return ret;
    }
    /// The messages, and empties the list.
    std::string take() {
        std::string ret = text();
        clear();
        return ret;
    }

    std::vector<std::string> lines;
    std::vector<Kolm::Log::Level> levels;

private:
    static bool append(Kolm::Log::Level level, size_t, const char *text, void *data) {
        CapturedLog *log = static_cast<CapturedLog *>(data);
        log->lines.push_back(text);
        log->levels.push_back(level);
        return true;
    }
};
