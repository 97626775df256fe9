// Worker threads, and ordered lists of functions that run on them.
//
// A Task is bound to one worker when it is made; its functions run there one after the other, in the order in which
// they were added, and stay with the task until it is cleared. The pool does not move work: for uneven work make more
// tasks than workers.
//
// Inside a function of a task the pool may be used as well. What a worker adds to another task of its pool runs at
// once, on that worker, and a worker that waits runs what it waits for, so that tasks may spread work over the pool
// they run on.

#pragma once

#include "KolmArray.h"
#include "KolmAtomic.h"

namespace Kolm {

class AsyncThread;

/// Function of a task with room for its result.
class AsyncFunctionBase : public Allocated {
public:
    virtual ~AsyncFunctionBase() = default;
    virtual void run() = 0;
    /// Pointer to the result; null for a function that returns nothing.
    virtual const void *get() const = 0;

private:
    friend class AsyncTaskImpl;
    bool is_placed = false; // lies in the memory of its task
};

/// The usual one: any callable without arguments. Results are default-constructed until the function has run.
template<class Func> class AsyncFunction final : public AsyncFunctionBase {
    using Ret = std::decay_t<std::invoke_result_t<Func &>>;

public:
    explicit AsyncFunction(const Func &func) : func(func) {}
    explicit AsyncFunction(Func &&func) noexcept(
        std::is_nothrow_move_constructible_v<Func> &&std::is_nothrow_default_constructible_v<Ret>)
        : func(std::move(func)) {}
    void run() override { ret = func(); }
    const void *get() const override { return &ret; }

private:
    Func func;
    Ret ret = {};
};
template<class Func>
requires std::is_void_v<std::invoke_result_t<Func &>>
class AsyncFunction<Func> final : public AsyncFunctionBase {
public:
    explicit AsyncFunction(const Func &func) : func(func) {}
    explicit AsyncFunction(Func &&func) noexcept(std::is_nothrow_move_constructible_v<Func>) : func(std::move(func)) {}
    void run() override { func(); }
    const void *get() const override { return nullptr; }

private:
    Func func;
};

/// Pool of 4 to 64 worker threads. May be used by several threads at once, init() and shutdown() by one.
class Async : public Allocated, private NoCopy {
public:
    /// The shared state of a task.
    using TaskImpl = class AsyncTaskImpl;

    static constexpr uint32_t MinThreads = 4;
    static constexpr uint32_t MaxThreads = 64;
    /// Number of functions that stands for all of a task.
    static constexpr uint32_t AllFunctions = 0xFFFFFFFF;
    static constexpr uint64_t AllThreads = ~uint64_t(0);

    /// Handle of an ordered list of functions. Copies refer to one list; with the last one the list is cleared, which
    /// waits for a function that is being run. The list may be used by several threads, one handle may not.
    ///
    /// \p num counts completed functions from the first one on; AllFunctions stands for those that are there now.
    class Task {
    public:
        Task() = default;
        explicit Task(TaskImpl *impl) : impl(impl) { retain(); }
        Task(const Task &task) : impl(task.impl) { retain(); }
        Task(Task &&task) noexcept : impl(std::exchange(task.impl, nullptr)) {}
        ~Task() { release(); }
        Task &operator=(const Task &task);
        Task &operator=(Task &&task) noexcept;

        bool empty() const { return impl == nullptr; }
        explicit operator bool() const { return impl != nullptr; }
        TaskImpl *get_impl() const { return impl; }

        /// Removes all functions; one that is being run is waited for. The task can be used again. A function that
        /// clears its own task is removed when it returns.
        void clear();
        /// Functions that have not begun are not run, and not completed, until clear() is called. Waiting for them does
        /// not end: cancel before you wait, or wait for fewer.
        void cancel();
        bool isCanceled() const;

        /// Index of the worker.
        uint32_t index() const;
        /// Number of functions, completed ones included.
        uint32_t size() const;

        /// Adds a function. The pointer form takes ownership in any case. Returns false and logs if the pool was shut
        /// down.
        bool run(AsyncFunctionBase *func);
        template<class Func>
        requires std::is_invocable_v < std::decay_t<Func>
        & > bool run(Func &&func);
        /// Callable with arguments, which are copied.
        template<class Func, class... Args>
        requires std::is_invocable_v < std::decay_t<Func>
        &, std::decay_t<Args> &... > &&(sizeof...(Args) > 0) &&
               (!std::is_member_pointer_v<std::decay_t<Func>>)bool run(Func &&func, Args &&...args) {
            return run([func, args...]() mutable { return func(args...); });
        }
        /// Member function of an object, which the caller keeps alive.
        template<class Object, class Member, class... Args>
        requires std::is_member_function_pointer_v<Member>
        bool run(Object *object, Member member, const Args &...args) {
            return run([object, member, args...]() mutable { return (object->*member)(args...); });
        }

        /// Whether \p num functions are completed.
        bool check(uint32_t num = AllFunctions) const;
        /// Waits until they are. Returns false and logs for more functions than there are, for a function that waits
        /// for its own task, and if the pool is shut down meanwhile.
        bool wait(uint32_t num = AllFunctions) const;

        /// Result of the function number \p num, which has been completed.
        bool getBool(uint32_t num = 0) const { return *static_cast<const bool *>(get(num)); }
        void *getPtr(uint32_t num = 0) const { return *static_cast<void *const *>(get(num)); }
        /// Pointer to the result, which lives until the task is cleared; null for a function that returns nothing.
        const void *get(uint32_t num = 0) const;

    private:
        void retain();
        void release();
        // Memory in the task for its next function; the task stays locked until the function is appended.
        void *place(size_t size);
        bool append(AsyncFunctionBase *func);

        TaskImpl *impl = nullptr;
    };

    Async();
    ~Async();

    /// Starts \p num_threads workers, 0 for one for each core. There are 4 at least and 64 at most. \p stack_size is
    /// in bytes, 0 for the system's default. Returns whether at least one runs.
    bool init(uint32_t num_threads = 0, uint32_t stack_size = 0);
    /// Waits for all tasks, but for canceled functions, and ends the workers. Tasks that are left can't run any more.
    bool shutdown();
    bool isInitialized() const;

    /// Processors that this process may use.
    static uint32_t getNumCores();
    uint32_t getNumThreads() const;

    /// Keeps a task alive until wait() or clear().
    void append(const Task &task);
    void clear();
    /// Number of tasks that are kept; with \p running only those that are not completed.
    uint32_t getNumTasks(bool running = false) const;

    /// New task without functions, on the worker of that index, or on the one of \p mask that has the least to do: bit
    /// i & 63 stands for worker i. Empty, with a line in the log, if there is no such worker.
    Task run(uint32_t index);
    Task run(uint64_t mask);
    /// New task of one function, which the pool owns in any case.
    Task run(AsyncFunctionBase *func, uint64_t mask = AllThreads);
    /// New task of one callable with its arguments, or of a member function with its object and arguments.
    template<class Func, class... Args>
    requires requires(Task task, Func &&func, Args &&...args) {
        task.run(std::forward<Func>(func), std::forward<Args>(args)...);
    } &&(!std::is_convertible_v<Func, AsyncFunctionBase *>)&&(!std::is_arithmetic_v<std::decay_t<Func>>)Task
        run(Func &&func, Args &&...args) {
        Task task(create(AllThreads));
        if(task) task.run(std::forward<Func>(func), std::forward<Args>(args)...);
        return task;
    }

    /// Whether \p num functions of each task are completed; without arguments, whether wait() would return at once.
    bool check(const Task *tasks, uint32_t num_tasks) const;
    bool check(const Array<Task> &tasks) const { return check(tasks.get(), tasks.size()); }
    bool check() const;
    /// Waits for all functions of each task; without arguments, for everything that the workers have to do, but for
    /// canceled tasks, and lets the kept tasks go. Returns false and logs if a task can't be waited for.
    bool wait(const Task *tasks, uint32_t num_tasks) const;
    bool wait(const Array<Task> &tasks) const { return wait(tasks.get(), tasks.size()); }
    bool wait();

    /// State of a new task on the worker of \p mask that has the least to do, the first one of equals. Null, with a
    /// line in the log, if the mask names none. Wrap it into a Task.
    TaskImpl *create(uint64_t mask = AllThreads);

private:
    bool is_worker() const;

    mutable SpinLock lock; // guards `tasks`
    Array<AsyncThread *> threads;
    Array<Task> tasks;
};

template<class Func>
requires std::is_invocable_v < std::decay_t<Func>
& > bool Async::Task::run(Func &&func) {
    KOLM_ASSERT(impl != nullptr && "Async::Task::run(): task is null");
    using Function = AsyncFunction<std::decay_t<Func>>;
    static_assert(alignof(Function) <= 16, "functions and results are aligned to 16 bytes at most");
    // A copy may throw, log or run tasks, which must not happen under the lock of the task; moving it does none of that.
    std::decay_t<Func> copy(std::forward<Func>(func));
    if constexpr(std::is_nothrow_constructible_v<Function, std::decay_t<Func> &&>)
        return append(new(place(sizeof(Function))) Function(std::move(copy)));
    else
        return run(new Function(std::move(copy)));
}

} // namespace Kolm
