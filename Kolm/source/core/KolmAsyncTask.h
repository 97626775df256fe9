// The shared state of a task of Async. For the pool's own files; applications see Async::Task.
//
// Locks, in the order in which they are taken: a task's `lock`, its thread's `lock`, a task's `process`. Whoever waits
// for `process` holds none of the others. Functions run under `process` alone.

#pragma once

#include "KolmAsync.h"
#include "KolmAtomicArray.h"

namespace Kolm {

/// What the pool knows of the thread that it is called on.
struct AsyncContext {
    AsyncThread *thread; // the worker, null on foreign threads
    uint32_t depth;      // functions that run inside one another
};

class alignas(64) AsyncTaskImpl : private NoCopy {
public:
    /// Most functions that a worker takes from its queue at once.
    static constexpr uint32_t MaxBatch = 32;

    /// What someone who waits for completed functions finds.
    enum class State {
        Pending,
        Done,
        Invalid, // there are fewer functions
        Closed,  // the worker has ended
        Failed,  // the system refuses to wait
    };

    ~AsyncTaskImpl() { release_chunks(chunks); }

    // handles

    void retain() { ++counter; }
    bool release() { return --counter < 1; }
    /// Another reference, unless the last one is gone already.
    bool retain_alive();
    /// Clears the task and gives it back to its thread; the last handle is gone.
    void drop();

    // functions

    /// Memory for a function; the task stays locked until append().
    void *place(size_t size);
    /// Adds a function to the locked task, and runs it at once if that is what the calling worker should do.
    bool append(AsyncFunctionBase *func, bool is_placed);
    bool run(AsyncFunctionBase *func);

    void clear();
    void cancel();
    bool isCanceled() const { return is_canceled.load() != 0; }

    uint32_t size() const { return functions.size(); }
    bool check(uint32_t num) const { return resolve(num) <= uint32_t(offset.load()); }
    /// With \p is_pool canceled functions count as completed.
    State get_state(uint32_t num, bool is_pool) const;
    bool wait(uint32_t num, bool is_pool = false);
    const void *get(uint32_t num);

    // for the worker, which holds `process`

    /// Runs the next \p num functions.
    void run_functions(uint32_t num, AsyncContext &context);
    /// Lets go of the task, which may be gone afterwards.
    void leave();

    // What the worker touches stands in the first two cache lines, with the first functions.
    AsyncThread *const thread;           // the worker, for good
    mutable SpinLock lock;               // guards `functions` and the memory of functions
    SpinLock process;                    // held while functions are being run
    Atomici32 offset;                    // functions completed; written under `process`
    mutable Atomici32 target{INT32_MAX}; // lowest offset that someone sleeps for; written under the thread's mutex
    Atomici32 counter;                   // handles
    Atomici32 is_canceled;               // set by cancel, reset by clear
    Atomici32 is_clearing;               // functions are on their way out: none is begun any more

private:
    friend class AsyncThread;

    // Memory of functions. The first ones lie in the state itself.
    struct Chunk {
        Chunk *next;
        size_t size;
    };
    static constexpr uint32_t NumSlots = 2;
    static constexpr size_t PlaceSize = 48;
    static constexpr size_t MinChunk = 512, MaxChunk = 16384;

    explicit AsyncTaskImpl(AsyncThread *thread) : thread(thread) { reset_place(); }

    uint32_t resolve(uint32_t num) const { return (num == Async::AllFunctions) ? size() : num; }
    bool is_own() const;
    void lock_process();
    void remove_functions(uint32_t num);
    void reset_place();
    static void release_chunks(Chunk *chunks);
    void destroy(AsyncFunctionBase *func);

    uint32_t num_cleared = 0;       // functions that one of them wants removed when it has returned
    AtomicPtr<AsyncContext> runner; // who runs a function of this task
    AtomicArray<AsyncFunctionBase *> functions;
    AsyncFunctionBase *slots[NumSlots];
    alignas(16) uint8_t first_place[PlaceSize];
    bool is_dropped = false; // the same for the task itself

    Chunk *chunks = nullptr;
    uint8_t *place_ptr = nullptr, *place_end = nullptr; // free memory
    AsyncTaskImpl *next = nullptr;                      // in the thread's list of unused states
};

} // namespace Kolm
