// One thread of the system, for work that does not fit into tasks.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// Thread with a body in process(), which a derived class overrides. A derived class that touches its own members in
/// the body calls stop(true) in its destructor, while they still exist.
class OSTREVAN_API Thread : private NoCopy {
public:
    Thread();
    /// Wakes the thread up, and cancels it if it is still running.
    virtual ~Thread();

    /// The thread's body; runs until it returns, and should return soon when isRunning() is false.
    virtual void process();

    /// Starts the thread. \p stack_size is in bytes, at least 256 KiB, 0 for the system's default. Returns false and
    /// logs if it runs already or can't be created. A thread that has ended can be started again.
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

    bool isRunning() const; ///< was started and not told to stop
    bool isStopped() const; ///< has no thread of the system
    bool isWaiting() const; ///< sleeps in wait()

    /// The kernel's id of the calling thread.
    static uint64_t getID();

private:
    struct ThreadImpl;
    ThreadImpl *impl;
};

} // namespace Ostrevan
