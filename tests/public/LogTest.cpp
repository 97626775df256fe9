// The public log is the core's log: same state, same lines. What it prints is tested with the core.

#include <core/OstrevanFile.h>
#include <core/OstrevanLog.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <vector>

#include "ChildProcess.h"

using namespace Ostrevan;

namespace {

struct Lines {
    std::vector<std::pair<Log::Level, std::string>> rows;

    Lines() {
        Log::setCallback(
            [](Log::Level level, size_t, const char *text, void *data) {
                static_cast<Lines *>(data)->rows.emplace_back(level, text);
                return true;
            },
            this);
    }
    ~Lines() { Log::setCallback(nullptr); }
};

} // namespace

TEST(PublicLog, forwards_every_form) {
    Lines lines;
    EXPECT_EQ(Log::getCallbackData(), &lines);
    EXPECT_NE(Log::getCallback(), nullptr);
    Log::print("a");
    Log::printf("b%d", 1);
    Log::print(Log::Warning, "c");
    Log::printf(Log::Verbose, "d%s", "2");
    errno = ENOENT;
    Log::printe(Log::Error, "e: ");
    errno = ENOENT;
    Log::printef(Log::Message, "f%d: ", 3);
    File::remove("/nowhere/at/all"); // a line of the library itself
    const std::vector<std::pair<Log::Level, std::string>> rows = {
        {Log::Unknown, "a"},
        {Log::Unknown, "b1"},
        {Log::Warning, "c"},
        {Log::Verbose, "d2"},
        {Log::Error, "e: No such file or directory\n"},
        {Log::Message, "f3: No such file or directory\n"},
        {Log::Error, "File::remove(): can't remove \"/nowhere/at/all\" file\nNo such file or directory\n"},
    };
    EXPECT_EQ(lines.rows, rows);
}

TEST(PublicLog, the_level_hides_messages) {
    EXPECT_EQ(Log::getLevel(), Log::Verbose);
    const ChildProcess child = runChild([] {
        Log::setLevel(Log::Error);
        Log::print(Log::Warning, "hidden\n");
        Log::print(Log::Error, "shown\n");
    });
    EXPECT_EQ(child.out.find("hidden"), std::string::npos);
    EXPECT_NE(child.err.find("shown\n"), std::string::npos);
}

TEST(PublicLog, survives_a_throwing_callback) {
    Log::setCallback([](Log::Level, size_t, const char *, void *) -> bool { throw std::runtime_error("callback"); });
    EXPECT_THROW(Log::print(Log::Error, "a\n"), std::runtime_error);
    Lines lines;
    std::thread([] { Log::print(Log::Error, "b\n"); }).join();
    EXPECT_EQ(lines.rows.size(), 1u);
}
