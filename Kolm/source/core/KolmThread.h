// One thread of the system, and the sleep and wake-up that its body uses.

#pragma once

#include <pthread.h>

#include "KolmAllocator.h"

namespace Kolm {

/// Thread with a body in process(), which a derived class overrides. A derived class that touches its own members in
/// the body calls stop(true) in its destructor, while they still exist.
class Thread : public Allocated, private NoCopy {
public:
    /// Stacks are at least this large: one formatted log line takes 64 KiB of it.
    static constexpr uint32_t MinStackSize = 256 * 1024;

    Thread();
    /// Wakes the thread up, and cancels it if it is still running.
    virtual ~Thread();

    /// The thread's body; runs until it returns, and should return soon when isRunning() is false.
    virtual void process();

    /// Starts the thread. \p stack_size is in bytes, 0 for the system's default. Returns false and logs if it runs
    /// already or can't be created. A thread that has ended can be started again.
    bool run(uint32_t stack_size = 0);
    /// Tells the thread to end and wakes it up; with \p wait returns when it has ended. Returns false if it isn't
    /// running. A thread that stops itself does not wait.
    bool stop(bool wait = true);

    /// Sleeps until signal() or stop() is called. For the thread itself: a signal that comes before the sleep is lost.
    bool wait();
    /// Wakes the thread up. Returns false if it isn't running.
    bool signal();

    /// Cancels the thread at once, wherever it is: what it holds stays held, and its objects are not destroyed. Only
    /// for bodies that hang.
    bool terminate();

    bool isRunning() const { return is_running.load() != 0; } ///< was started and not told to stop
    bool isStopped() const { return is_stopped.load() != 0; } ///< has no thread of the system
    bool isWaiting() const { return is_waiting.load() != 0; } ///< sleeps in wait()

    /// The kernel's id of the calling thread.
    static uint64_t getID();

protected:
    /// The two halves of wait(): after the first one no signal is lost.
    void prepare_wait() { is_waiting = 1; }
    bool wait_prepared();

private:
    static void *entry(void *data);
    __attribute__((noinline)) void run_process();
    __attribute__((noinline)) bool sleep_prepared();

    pthread_mutex_t mutex;
    pthread_cond_t event;
    pthread_t thread = {};
    Atomici32 is_running;
    Atomici32 is_stopped{1};
    Atomici32 is_waiting;
    Atomici32 is_entered; // the thread of the system may still touch this object
};

} // namespace Kolm
