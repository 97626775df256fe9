// Runs a function in a child process, for what ends a process or writes to its standard streams.

#pragma once

#ifdef __SANITIZE_THREAD__
#include <filesystem>
#endif
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// Lets threads that have done their last step leave the process: the thread sanitizer refuses threads to a child that
/// is made before. It has a thread of its own.
inline void waitThreads() {
#ifdef __SANITIZE_THREAD__
    for(uint32_t i = 0; i < 100; i++) {
        const auto begin = std::filesystem::directory_iterator("/proc/self/task");
        if(std::distance(begin, std::filesystem::directory_iterator()) <= 2) break;
        usleep(1000);
    }
#endif
}

struct ChildProcess {
    int status = 0; // as waitpid gives it
    std::string out;
    std::string err;

    bool isAborted() const { return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT; }
    bool isExited() const { return WIFEXITED(status) && WEXITSTATUS(status) == 0; }
};

template<class Func> ChildProcess runChild(Func func) {
    fflush(nullptr);
    waitThreads();
    FILE *out = tmpfile();
    FILE *err = tmpfile();
    const pid_t pid = fork();
    if(pid == 0) {
        dup2(fileno(out), 1);
        dup2(fileno(err), 2);
        func();
        fflush(nullptr);
        _exit(0);
    }
    ChildProcess child;
    waitpid(pid, &child.status, 0);
    const auto read = [](FILE *file) {
        std::string text;
        rewind(file);
        for(int c; (c = getc(file)) != EOF;) text += char(c);
        fclose(file);
        return text;
    };
    child.out = read(out);
    child.err = read(err);
    return child;
}

/// Expects \p STATEMENT to end by an assertion whose expression is exactly \p TEXT.
#define EXPECT_ASSERTION(STATEMENT, TEXT)                                                                \
    do {                                                                                                 \
        const ChildProcess child_ = runChild([&] { STATEMENT; });                                        \
        EXPECT_TRUE(child_.isAborted()) << "did not abort: " #STATEMENT;                                 \
        EXPECT_NE(child_.err.find(std::string("assertion failed: ") + (TEXT) + "\n"), std::string::npos) \
            << child_.err;                                                                               \
    } while(false)
