#include "KolmLog.h"

#include <algorithm>
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <thread>

#include "CapturedLog.h"
#include "ChildProcess.h"

using namespace Kolm;

// The clock of this program stands still unless a test moves it.
static int64_t clock_us = 1000000000;
extern "C" int gettimeofday(timeval *tv, void *) noexcept {
    tv->tv_sec = clock_us / 1000000;
    tv->tv_usec = clock_us % 1000000;
    return 0;
}

namespace {

// Taken while static constructors run: nothing was logged before, and the log must work already.
const ChildProcess first_plain = runChild([] {
    unsetenv("TERM");
    Log::print(Log::Message, "hi\n");
});
const ChildProcess first_color = runChild([] {
    setenv("TERM", "xterm", 1);
    Log::print(Log::Error, "bad\n");
    Log::print(Log::Message, "hi\n");
});

template<class Func> ChildProcess run_plain(Func func) {
    return runChild([func] {
        setenv("TERM", "dumb", 1);
        Log::setCallback(nullptr);
        Log::setLevel(Log::Verbose);
        func();
    });
}

std::string last_line(const std::string &text) {
    const size_t pos = text.rfind('\n', text.size() - 2);
    return text.substr(pos == std::string::npos ? 0 : pos + 1);
}

} // namespace

TEST(Log, writes_the_first_line) {
    EXPECT_EQ(first_plain.out, "M:      0 us: hi\n");
    EXPECT_EQ(first_plain.err, "");
    EXPECT_EQ(first_color.err, "\033[01;31mE:      0 us: bad\n");
    EXPECT_EQ(first_color.out, "\033[mM:      0 us: hi\n");
}

TEST(Log, stamps_the_time_in_five_shapes) {
    static const struct {
        int64_t time;
        const char *stamp;
    } rows[] = {
        {999, "   999 us: "},
        {1000, "  1.00 ms: "},
        {12345, " 12.34 ms: "},
        {999999, "999.99 ms: "},
        {1000000, "  1.000 s: "},
        {59999999, " 59.999 s: "},
        {60000000, " 1:00.000: "},
        {754321000, "12:34.321: "},
        {3600000000, "1:00:00.000: "},
        {7384005000, "2:03:04.005: "},
        {360000000000, "100:00:00.000: "},
    };
    for(const auto &row : rows) {
        const int64_t time = row.time;
        const ChildProcess child = run_plain([time] {
            Log::print(Log::Message, "start\n");
            clock_us += time;
            Log::print(Log::Message, "x\n");
        });
        EXPECT_EQ(last_line(child.out), std::string("M: ") + row.stamp + "x\n");
    }
}

TEST(Log, survives_a_clock_that_is_set_back) {
    const ChildProcess child = run_plain([] {
        Log::print(Log::Message, "a\n");
        clock_us += 5000000;
        Log::print(Log::Message, "b\n");
        clock_us -= 4000000;
        Log::print(Log::Message, "c\n");
    });
    EXPECT_EQ(last_line(child.out), "M:   5.000 s: c\n");
}

TEST(Log, sends_levels_to_their_streams_with_their_prefixes) {
    const ChildProcess child = run_plain([] {
        Log::setLevel(Log::Unknown);
        for(int i = 1; i < Log::NumLevels; i++) Log::print(Log::Level(i), "x\n");
        Log::print(Log::Level(77), "y\n");
        Log::print(Log::Message, nullptr);
        Log::print("plain\n");
    });
    const std::string stamp = "     0 us: ";
    EXPECT_EQ(child.err, "E: " + stamp + "x\n");
    EXPECT_EQ(child.out, "W: " + stamp + "x\nM: " + stamp + "x\nV: " + stamp + "x\n" + stamp + "x\n" + stamp +
                             "y\nM: " + stamp + "plain\n");
}

TEST(Log, closes_a_progress_line_before_the_next_text) {
    const ChildProcess child = run_plain([] {
        Log::print("\r10%");
        Log::print("\r20%");
        Log::print("done\n");
        Log::print("\r30%");
        Log::setLevel(Log::Error);
        Log::print(Log::Warning, "hidden, changes nothing\n");
        Log::print(Log::Error, "failed\n");
        Log::print("end\n");
    });
    EXPECT_EQ(child.out, "\r10%\r20%\ndone\n\r30%end\n");
    EXPECT_EQ(child.err, "\nE:      0 us: failed\n");
}

TEST(Log, shows_hidden_messages_to_the_callback_first) {
    const ChildProcess child = run_plain([] {
        static std::string seen;
        Log::setLevel(Log::Error);
        Log::setCallback(
            [](Log::Level level, size_t, const char *text, void *data) {
                *static_cast<std::string *>(data) += std::to_string(level) + text;
                return strcmp(text, "drop") == 0;
            },
            &seen);
        Log::print(Log::Verbose, "a");
        Log::print(Log::Error, "drop");
        Log::print("b");
        Log::print("drop");
        Log::setCallback(nullptr);
        Log::printf("|%s|", seen.c_str());
    });
    EXPECT_EQ(child.out, "b|4a1drop5b5drop|");
    EXPECT_EQ(child.err, "");
}

TEST(Log, fatal_aborts_unless_the_callback_takes_it) {
    const ChildProcess aborted = run_plain([] {
        Log::setCallback([](Log::Level, size_t, const char *, void *) { return false; });
        Log::print(Log::Fatal, "end\n");
    });
    EXPECT_TRUE(aborted.isAborted());
    EXPECT_EQ(aborted.err.substr(0, 18), "F:      0 us: end\n"); // an emulator says more
    const ChildProcess alive = run_plain([] {
        Log::setCallback([](Log::Level, size_t, const char *, void *) { return true; });
        Log::print(Log::Fatal, "end\n");
    });
    EXPECT_TRUE(alive.isExited());
    EXPECT_EQ(alive.err, "");
}

TEST(Log, releases_its_lock_when_a_callback_throws) {
    Log::setCallback([](Log::Level, size_t, const char *, void *) -> bool { throw 1; });
    EXPECT_THROW(Log::print(Log::Error, "a\n"), int);
    EXPECT_THROW(Log::print("b\n"), int);
    CapturedLog log;
    std::thread([] { Log::print(Log::Error, "c\n"); }).join();
    EXPECT_EQ(log.take(), "c\n");
}

TEST(Log, a_callback_may_log_after_unlocking) {
    static std::string seen;
    Log::setCallback([](Log::Level, size_t, const char *text, void *) {
        seen += text;
        if(strcmp(text, "outer") == 0) {
            Log::unlockCallback();
            Log::print(Log::Error, "inner");
            Log::lockCallback();
        }
        return true;
    });
    Log::print(Log::Error, "outer");
    Log::setCallback(nullptr);
    EXPECT_EQ(seen, "outerinner");
}

TEST(Log, formats_and_cuts_long_text) {
    CapturedLog log;
    const std::string text(40000, 'x');
    Log::printf(Log::Error, "%s", text.c_str());
    EXPECT_EQ(log.take(), std::string(32767, 'x'));
    Log::printf("%d %s", 5, "%s");
    EXPECT_EQ(log.take(), "5 %s");
}

TEST(Log, appends_the_reason_of_the_system) {
    CapturedLog log;
    errno = ENOENT;
    Log::printe(Log::Error, "a: ");
    EXPECT_EQ(log.take(), "a: No such file or directory\n");
    errno = EACCES;
    Log::printef(Log::Error, "%s %d: ", "b", 7);
    EXPECT_EQ(log.take(), "b 7: Permission denied\n");
    errno = 0;
    Log::printef(Log::Error, "c\n");
    EXPECT_EQ(log.take(), "c\n");
}

TEST(Log, keeps_lines_of_many_threads_whole) {
    const ChildProcess child = run_plain([] {
        std::thread threads[4];
        for(std::thread &thread : threads) {
            thread = std::thread([] {
                for(int i = 0; i < 200; i++) Log::printf("%s\n", std::string(100, char('a' + i % 26)).c_str());
            });
        }
        for(std::thread &thread : threads) thread.join();
    });
    ASSERT_EQ(child.out.size(), 4u * 200 * 101);
    for(size_t i = 0; i < child.out.size(); i += 101)
        ASSERT_EQ(child.out.substr(i, 101), std::string(100, child.out[i]) + "\n");
}

TEST(Log, calls_the_callback_one_thread_at_a_time) {
    CapturedLog log; // a list without a lock of its own
    std::thread threads[8];
    for(int i = 0; i < 8; i++) {
        threads[i] = std::thread([i] {
            for(int k = 0; k < 300; k++) {
                Log::printf(Log::Level(k % Log::NumLevels), "%d", i);
                Log::print(Log::Message, (k % 2) ? "\r" : "x");
                errno = ENOENT;
                Log::printe(Log::Error, "e");
                Log::print("y");
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_EQ(log.size(), 8u * 300 * 4);
    EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), "eNo such file or directory\n"), 8 * 300);
    EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), "7"), 300);
}
