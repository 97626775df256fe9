// Worker threads, and ordered lists of functions that run on them.
//
//     Async async;
//     async.init();
//     Async::Task task = async.run([] { return get_value(); });
//     Async::Task other = async.run(get_sum, 1, 2);
//     if(task.wait() && other.wait()) show(task.get<float32_t>(), other.get<int32_t>());
//
// A Task is bound to one worker when it is made; its functions run there one after the other, in the order in which
// they were added, and stay with the task until it is cleared. The pool does not move work: for uneven work make more
// tasks than workers.
//
// Inside a function of a task the pool may be used as well. What a worker adds to another task of its pool runs at
// once, on that worker, and a worker that waits runs what it waits for, so that tasks may spread work over the pool
// they run on.
//
// A function that throws is logged and counts as completed.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>

namespace Ostrevan {

/// Function of a task with room for its result.
class AsyncFunctionBase : public Allocated {
public:
    virtual ~AsyncFunctionBase() = default;
    virtual void run() = 0;
    /// Pointer to the result; null for a function that returns nothing.
    virtual const void *get() const = 0;
};

/// The usual one: any callable without arguments. Results are default-constructed until the function has run.
template<class Func, class Ret = std::decay_t<std::invoke_result_t<Func &>>>
class AsyncFunction final : public AsyncFunctionBase {
public:
    explicit AsyncFunction(const Func &func) : func(func) {}
    explicit AsyncFunction(Func &&func) : func(std::move(func)) {}
    void run() override { ret = func(); }
    const void *get() const override { return &ret; }

private:
    Func func;
    Ret ret = {};
};
template<class Func> class AsyncFunction<Func, void> final : public AsyncFunctionBase {
public:
    explicit AsyncFunction(const Func &func) : func(func) {}
    explicit AsyncFunction(Func &&func) : func(std::move(func)) {}
    void run() override { func(); }
    const void *get() const override { return nullptr; }

private:
    Func func;
};

/// Pool of 4 to 64 worker threads. May be used by several threads at once through handles of their own; init() and
/// shutdown() belong to one. The last handle shuts the pool down.
class OSTREVAN_API Async {
    OSTREVAN_LEAF_HANDLE(Async)
public:
    /// Number of functions that stands for all of a task.
    static constexpr uint32_t AllFunctions = 0xFFFFFFFF;
    static constexpr uint64_t AllThreads = ~uint64_t(0);

    /// Handle of an ordered list of functions. Copies refer to one list; with the last one the list is cleared, which
    /// waits for a function that is being run. The list may be used by several threads, one handle may not. Using an
    /// empty handle ends the process.
    ///
    /// \p num counts completed functions from the first one on; AllFunctions stands for those that are there now.
    class OSTREVAN_API Task {
    public:
        Task();
        Task(const Task &task);
        Task(Task &&task) noexcept;
        ~Task();
        Task &operator=(const Task &task);
        Task &operator=(Task &&task) noexcept;

        bool empty() const;
        explicit operator bool() const { return !empty(); }

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

        /// Adds a function, which the task owns in any case. Returns false and logs if the pool was shut down.
        bool run(AsyncFunctionBase *func);
        /// Adds a callable, with arguments that are copied.
        template<class Func, class = std::enable_if_t<std::is_invocable_v<std::decay_t<Func> &>>>
        bool run(Func &&func) {
            return run(
                static_cast<AsyncFunctionBase *>(new AsyncFunction<std::decay_t<Func>>(std::forward<Func>(func))));
        }
        template<class Func, class Arg, class... Args,
                 class = std::enable_if_t<std::is_invocable_v<std::decay_t<Func> &, Arg &, Args &...> &&
                                          !std::is_member_pointer_v<std::decay_t<Func>>>>
        bool run(Func &&func, Arg arg, Args... args) {
            return run([func, arg, args...]() mutable { return func(arg, args...); });
        }
        /// Adds a member function of an object, which the caller keeps alive.
        template<class Object, class Member, class... Args,
                 class = std::enable_if_t<std::is_member_function_pointer_v<Member>>, class = void>
        bool run(Object *object, Member member, Args... args) {
            return run([object, member, args...]() mutable { return (object->*member)(args...); });
        }

        /// Whether \p num functions are completed.
        bool check(uint32_t num = AllFunctions) const;
        /// Waits until they are. Returns false and logs for more functions than there are, for a function that waits
        /// for its own task, and if the pool is shut down meanwhile.
        bool wait(uint32_t num = AllFunctions) const;

        /// Result of the function number \p num. Expects that it has been completed and returns that type.
        bool getBool(uint32_t num = 0) const { return get<bool>(num); }
        void *getPtr(uint32_t num = 0) const { return get<void *>(num); }
        template<class Type> const Type &get(uint32_t num = 0) const { return *static_cast<const Type *>(get(num)); }
        /// Pointer to the result, which lives until the task is cleared; null for a function that returns nothing.
        const void *get(uint32_t num = 0) const;

    private:
        friend class Async;
        struct TaskImpl;
        OSTREVAN_HIDDEN TaskImpl &impl();
        OSTREVAN_HIDDEN const TaskImpl &impl() const;

        void *reserved;
    };

    Async();

    /// Starts \p num_threads workers, 0 for one for each core. There are 4 at least and 64 at most. \p stack_size is
    /// in bytes, at least 256 KiB, 0 for the system's default. Returns whether at least one runs.
    bool init(uint32_t num_threads = 0, uint32_t stack_size = 0);
    /// Waits for all tasks, but for canceled functions, and ends the workers. Tasks that are left can't run any more.
    /// Returns false and logs if a worker of the pool calls it.
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
    Task create(uint64_t mask = AllThreads) { return run(mask); }
    /// New task of one function, which the pool owns in any case.
    Task run(AsyncFunctionBase *func, uint64_t mask = AllThreads);
    /// New task of one callable with its arguments, or of a member function with its object and arguments.
    template<class Func, class... Args,
             class = decltype(std::declval<Task &>().run(std::declval<Func>(), std::declval<Args>()...)),
             class = std::enable_if_t<!std::is_convertible_v<Func, AsyncFunctionBase *>>>
    Task run(Func &&func, Args &&...args) {
        Task task = run(AllThreads);
        if(task) task.run(std::forward<Func>(func), std::forward<Args>(args)...);
        return task;
    }

    /// Whether all functions of each task are completed; without arguments, whether wait() would return at once.
    bool check(const Task *tasks, uint32_t num_tasks) const;
    bool check(const Array<Task> &tasks) const { return check(tasks.get(), tasks.size()); }
    bool check() const;
    /// Waits for all functions of each task; without arguments, for everything that the workers have to do, but for
    /// canceled tasks, and lets the kept tasks go. Returns false and logs if a task can't be waited for.
    bool wait(const Task *tasks, uint32_t num_tasks) const;
    bool wait(const Array<Task> &tasks) const { return wait(tasks.get(), tasks.size()); }
    bool wait();
};

} // namespace Ostrevan
