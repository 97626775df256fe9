// A worker of Async with its queue and the states of its tasks.

#pragma once

#include "KolmAsyncTask.h"
#include "KolmThread.h"

namespace Kolm {

/// Worker thread. It outlives its pool as long as there are handles of its tasks.
class AsyncThread : public Thread {
public:
    /// Consumed entries are removed from the queue when there are this many.
    static constexpr uint32_t Capacity = 16384;

    /// How append() found the worker.
    enum State {
        StateClosed, // the pool was shut down; nothing was appended
        StateAsleep, // must be signalled
        StateAwake,
    };
    /// What came out of the queue.
    enum Take {
        TakeEmpty, // nothing is there
        TakeBusy,  // the task that would be next is run by someone else
        TakeDone,  // functions, with the `process` of their task
    };

    AsyncThread(const Async *async, uint32_t id);

    static AsyncContext &get_context();
    const Async *get_async() const { return async; }
    uint32_t get_id() const { return id; }

    /// Functions that wait or run.
    uint32_t get_load() const { return uint32_t(num_queued.load() + num_left.load_relaxed()); }
    /// Functions of the batch being run that are not completed.
    void set_left(uint32_t num) { num_left.store_relaxed(int32_t(num)); }
    /// Whether there is nothing to do but for canceled tasks.
    bool check();
    /// The tasks that are being run or wait, each one once and retained, to the end of the array.
    void get(Array<AsyncTaskImpl *> &tasks);

    // states of tasks

    AsyncTaskImpl *create();
    /// Takes a state back whose functions were removed.
    void destroy(AsyncTaskImpl *task);
    /// The pool lets go of a stopped thread.
    void release();

    // queue

    State append(AsyncTaskImpl *task);
    /// Takes all entries of a task out.
    void remove(AsyncTaskImpl *task);
    /// Takes one function of the task out of the queue, for the calling thread.
    Take take(AsyncTaskImpl *task);
    /// Ends the thread when its queue is empty. Nothing can be appended any more.
    void close();

    // waiters

    /// Wakes all up who sleep for tasks of this worker; \p task, if any, is the one that has changed.
    void async_signal(const AsyncTaskImpl *task);
    /// Sleeps as long as the task is pending.
    AsyncTaskImpl::State async_wait(const AsyncTaskImpl *task, uint32_t num, bool is_pool);

protected:
    ~AsyncThread() override;
    void process() override;

private:
    // Functions of one task that stand behind one another.
    struct Entry {
        AsyncTaskImpl *task;
        uint32_t num;
    };
    // Unused states come in runs; the thread keeps one run when all tasks are gone.
    struct Slab {
        static constexpr uint32_t NumTasks = 32;
        AsyncTaskImpl *get(uint32_t index) {
            const uintptr_t first = align_up(uintptr_t(memory), uintptr_t(alignof(AsyncTaskImpl)));
            return std::launder(reinterpret_cast<AsyncTaskImpl *>(first)) + index;
        }

        Slab *next;
        uint8_t memory[sizeof(AsyncTaskImpl) * NumTasks + alignof(AsyncTaskImpl)];
    };
    static constexpr size_t CacheLine = 64;

    Take take_next(AsyncTaskImpl *&task, uint32_t &num);
    void remove_functions(uint32_t index, uint32_t num);
    bool sleep();
    bool append_slab();
    void remove_slabs();

    const Async *async;
    const uint32_t id;

    // Written by those who add functions, and by the worker once for each batch.
    [[maybe_unused]] uint8_t padding_0[CacheLine];
    SpinLock lock; // guards the queue
    uint32_t begin = 0;
    AtomicArray<Entry> functions; // consumed from `begin`
    Atomici32 num_queued;         // functions behind `begin`
    Atomici32 is_closed;

    // Written by the worker.
    [[maybe_unused]] uint8_t padding_1[CacheLine];
    AtomicPtr<AsyncTaskImpl> current; // the task being worked on
    Atomici32 num_left;               // functions of its batch that are not completed
    Atomici32 is_finished;            // the worker runs nothing any more

    // Written by those who make and drop tasks.
    [[maybe_unused]] uint8_t padding_2[CacheLine];
    SpinLock task_lock; // guards the states; taken before `lock`
    bool is_released = false;
    uint32_t num_tasks = 0;
    AsyncTaskImpl *unused = nullptr;
    Slab *slabs = nullptr;

    // Where waiters of tasks sleep.
    [[maybe_unused]] uint8_t padding_3[CacheLine];
    pthread_mutex_t mutex;
    pthread_cond_t event;
};

} // namespace Kolm
