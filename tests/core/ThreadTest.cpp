// The thread beneath the workers: start, end, sleep and wake-up.

#include "KolmThread.h"

#include <atomic>
#include <gtest/gtest.h>
#include <unistd.h>

#include "CapturedLog.h"
#include "KolmFunction.h"

using namespace Kolm;

namespace {

class FunctionThread : public Thread {
public:
    explicit FunctionThread(const Function<void(FunctionThread *)> &func) : func(func) {}
    ~FunctionThread() override { stop(true); }
    void process() override { func(this); }

private:
    Function<void(FunctionThread *)> func;
};

template<class Func> void wait_until(Func func) {
    while(!func()) usleep(20);
}

} // namespace

TEST(Thread, runs_its_body_and_ends) {
    std::atomic<uint64_t> id{0};
    FunctionThread thread([&](FunctionThread *self) {
        EXPECT_TRUE(self->isRunning() && !self->isStopped());
        id = Thread::getID(); // from now on it may be stopped
        while(self->isRunning()) usleep(20);
    });
    EXPECT_TRUE(!thread.isRunning() && thread.isStopped() && !thread.isWaiting());
    EXPECT_FALSE(thread.stop());
    EXPECT_FALSE(thread.signal());
    for(int i = 0; i < 20; i++) {
        id = 0;
        EXPECT_TRUE(thread.run());
        wait_until([&] { return id != 0; });
        EXPECT_NE(id, Thread::getID());
        CapturedLog log;
        EXPECT_FALSE(thread.run());
        EXPECT_EQ(log.take(), "Thread::run(): is already running\n");
        EXPECT_TRUE(thread.stop(true));
        EXPECT_TRUE(!thread.isRunning() && thread.isStopped());
    }
    CapturedLog log;
    Thread base;
    EXPECT_TRUE(base.run());
    wait_until([&] { return base.isStopped(); });
    EXPECT_EQ(log.take(), "Thread::process(): is called\n");
}

TEST(Thread, signals_end_sleeps) {
    std::atomic<int> num{0};
    FunctionThread thread([&](FunctionThread *self) {
        while(self->isRunning()) {
            EXPECT_TRUE(self->wait());
            num++;
        }
    });
    EXPECT_TRUE(thread.run());
    for(int i = 1; i <= 2000; i++) {
        wait_until([&] { return thread.isWaiting(); });
        EXPECT_EQ(num, i - 1);
        EXPECT_TRUE(thread.signal());
        wait_until([&] { return num == i; });
    }
    // A thread that is told to end does not sleep on, wherever it is.
    EXPECT_TRUE(thread.stop(true));
    for(int i = 0; i < 500; i++) {
        EXPECT_TRUE(thread.run());
        if(i % 2) usleep(i);
        EXPECT_TRUE(thread.stop(true));
    }
    FunctionThread own([](FunctionThread *self) { EXPECT_TRUE(self->stop(true)); });
    EXPECT_TRUE(own.run());
    wait_until([&] { return own.isStopped(); });
}

TEST(Thread, stacks_are_large_enough_for_a_log_line) {
    for(const uint32_t size : {0u, 1u, 65536u, 300000u, 4u << 20}) {
        std::atomic<size_t> result{0};
        FunctionThread thread([&](FunctionThread *) {
            pthread_attr_t attributes;
            pthread_getattr_np(pthread_self(), &attributes);
            size_t bytes = 0;
            pthread_attr_getstacksize(&attributes, &bytes);
            pthread_attr_destroy(&attributes);
            result = bytes;
        });
        ASSERT_TRUE(thread.run(size));
        wait_until([&] { return thread.isStopped(); });
        EXPECT_GE(result, std::max<size_t>(size, size ? Thread::MinStackSize : 1 << 20)) << size;
    }
}

// The thread sanitizer has frames of its own in the body, which can't be unwound from anywhere.
#if !defined(__SANITIZE_THREAD__)
TEST(Thread, hanging_bodies_are_terminated) {
    {
        std::atomic<int> num{0};
        FunctionThread thread([&](FunctionThread *self) {
            num = 1;
            while(self->isRunning() || num) usleep(100000);
        });
        EXPECT_FALSE(thread.terminate());
        EXPECT_TRUE(thread.run());
        wait_until([&] { return num == 1; });
        EXPECT_TRUE(thread.terminate());
        EXPECT_TRUE(thread.isStopped() && !thread.isRunning());
        EXPECT_FALSE(thread.terminate());
    }
    // The destructor does the same, to a sleeper too.
    class Sleeper : public Thread {
        void process() override { wait(); }
    };
    for(int i = 0; i < 50; i++) {
        Sleeper sleeper;
        EXPECT_TRUE(sleeper.run());
        wait_until([&] { return sleeper.isWaiting(); });
    }
}
#endif
