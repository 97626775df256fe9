// Worker threads and tasks: what each call promises, and that nothing is lost, runs twice or hangs when threads meet.

#include "KolmAsync.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <sched.h>
#include <stdexcept>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmFunction.h"
#include "KolmString.h"

using namespace Kolm;
using Task = Async::Task;

namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int Scale = 10; // the sanitizers are that much slower
#else
constexpr int Scale = 1;
#endif

// Holds the functions of a worker until it is opened.
class Gate {
public:
    void open() { is_open = true; }
    void pass() {
        is_reached = true;
        while(!is_open) std::this_thread::yield();
    }
    void reach() {
        while(!is_reached) std::this_thread::yield();
    }

private:
    std::atomic<bool> is_open{false}, is_reached{false};
};

class AsyncTest : public testing::Test {
protected:
    AsyncTest() { async.init(); }
    // All memory comes back with the pool and the last handle.
    ~AsyncTest() override {
        async.shutdown();
        EXPECT_EQ(Allocator::getMemory(), memory);
        EXPECT_EQ(Allocator::getAllocations(), allocations);
    }

    const size_t memory = Allocator::getMemory();
    const size_t allocations = Allocator::getAllocations();
    CapturedLog log;
    Async async;
};

template<class Type> Type get(const Task &task, uint32_t num = 0) { return *static_cast<const Type *>(task.get(num)); }

} // namespace

TEST(AsyncPool, has_4_to_64_workers) {
    CapturedLog log;
    const struct {
        uint32_t num, result;
    } rows[] = {{1, 4}, {3, 4}, {5, 5}, {64, 64}, {100, 64}, {0, std::max(4u, std::min(64u, Async::getNumCores()))}};
    for(const auto &row : rows) {
        Async async;
        EXPECT_FALSE(async.isInitialized());
        EXPECT_TRUE(async.init(row.num, 16));
        EXPECT_TRUE(async.isInitialized());
        EXPECT_EQ(async.getNumThreads(), row.result);
        EXPECT_FALSE(async.init(row.num));
        EXPECT_EQ(log.take(), "Async::init(): is already initialized\n");
        EXPECT_TRUE(async.shutdown());
        EXPECT_EQ(async.getNumThreads(), 0u);
        EXPECT_TRUE(async.init(row.num));
    }
    EXPECT_EQ(Async::getNumCores(), std::thread::hardware_concurrency());
    const ChildProcess child = runChild([] {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(sched_getcpu(), &set);
        sched_setaffinity(0, sizeof(set), &set);
        Async async;
        async.init();
        printf("%u cores, %u threads", Async::getNumCores(), async.getNumThreads());
        Task task = async.run([] { return 7; });
        printf(task.wait() && get<int>(task) == 7 ? ", 7" : ", no");
    });
    EXPECT_EQ(child.out, "1 cores, 4 threads, 7") << child.err;
}

TEST_F(AsyncTest, masks_and_indices_name_the_worker) {
    EXPECT_EQ(async.create(0), nullptr);
    EXPECT_EQ(async.create(uint64_t(1) << 63), nullptr);
    EXPECT_EQ(log.take(), "Async::create(): can't get thread\nAsync::create(): can't get thread\n");
    EXPECT_TRUE(async.run(async.getNumThreads()).empty());
    EXPECT_EQ(log.take(), "Async::run(): invalid thread 4/4\n");
    EXPECT_TRUE(async.run(new AsyncFunction([] {}), 0).empty());
    log.clear();
    for(uint32_t i = 0; i < async.getNumThreads(); i++) {
        EXPECT_EQ(async.run(i).index(), i);
        EXPECT_EQ(async.run(uint64_t(1) << i).index(), i);
        // The first one with the least to do.
        EXPECT_EQ(async.run(~uint64_t(0)).index(), 0u);
    }
    Gate gate;
    Task first = async.run(0u);
    first.run([&] { gate.pass(); });
    gate.reach();
    EXPECT_EQ(async.run(~uint64_t(0)).index(), 1u);
    Task second = async.run(1u);
    for(int i = 0; i < 2; i++) second.run([&] { gate.pass(); });
    EXPECT_EQ(async.run(uint64_t(3)).index(), 0u);
    EXPECT_EQ(async.run(uint64_t(2)).index(), 1u);
    gate.open();
    Async none;
    EXPECT_TRUE(none.run([] {}).empty());
}

TEST_F(AsyncTest, functions_keep_their_order_and_their_worker) {
    std::vector<int> order; // not guarded
    Task task = async.run(2u);
    std::thread::id worker;
    bool same = true;
    const int num = 50000 / Scale;
    for(int i = 0; i < num; i++) {
        task.run([&, i] {
            if(i == 0) worker = std::this_thread::get_id();
            same = same && worker == std::this_thread::get_id();
            order.push_back(i);
        });
        if(i % 1000 == 0) std::this_thread::yield();
    }
    EXPECT_EQ(task.size(), uint32_t(num));
    EXPECT_TRUE(task.wait());
    EXPECT_TRUE(same);
    EXPECT_NE(worker, std::this_thread::get_id());
    ASSERT_EQ(order.size(), size_t(num));
    for(int i = 0; i < num; i++) ASSERT_EQ(order[size_t(i)], i);
}

namespace {

struct Adder {
    int sum = 0;
    int add(int a, int b) {
        sum += a * b;
        return sum;
    }
    int get() const { return sum; }
};
int subtract(int a, int b) { return a - b; }

} // namespace

TEST_F(AsyncTest, callables_leave_their_results) {
    Adder adder;
    int value = 3;
    Task task = async.run(subtract, 9, 4);
    task.run([] { return true; });
    task.run([&] { return &value; });
    task.run(&adder, &Adder::add, 6, 7);
    task.run(&adder, &Adder::get);
    task.run(Function<int()>(subtract, 1, 2));
    task.run([](const String &text) { return text + "!"; }, String("long enough to lie on the heap of the library"));
    task.run(new AsyncFunction([] { return 2.5; }));
    task.run([] {});
    EXPECT_TRUE(task.wait());
    EXPECT_EQ(get<int>(task), 5);
    EXPECT_TRUE(task.getBool(1));
    EXPECT_EQ(task.getPtr(2), &value);
    EXPECT_EQ(get<int>(task, 3), 42);
    EXPECT_EQ(get<int>(task, 4), 42);
    EXPECT_EQ(get<int>(task, 5), -1);
    EXPECT_STREQ(static_cast<const String *>(task.get(6))->get(), "long enough to lie on the heap of the library!");
    EXPECT_EQ(get<double>(task, 7), 2.5);
    EXPECT_EQ(task.get(8), nullptr);
    Task member = async.run(&adder, &Adder::get);
    EXPECT_TRUE(member.wait() && get<int>(member) == 42);
    Task owned = async.run(new AsyncFunction([] { return 4; }), 2);
    EXPECT_TRUE(owned.wait() && get<int>(owned) == 4 && owned.index() == 1);
}

TEST_F(AsyncTest, numbers_count_completed_functions) {
    Task task = async.run(0u);
    EXPECT_TRUE(task.wait() && task.check() && task.check(0) && !task.check(1));
    Gate gate;
    for(int i = 0; i < 3; i++) task.run([&, i] { i == 1 ? gate.pass() : void(); });
    EXPECT_TRUE(task.wait(0));
    EXPECT_TRUE(task.wait(1));
    gate.reach();
    EXPECT_TRUE(task.check(1));
    EXPECT_FALSE(task.check(2) || task.check());
    EXPECT_FALSE(task.wait(4));
    EXPECT_EQ(log.take(), "Async::TaskImpl::wait(): invalid number of functions 4/3\n");
    gate.open();
    EXPECT_TRUE(task.wait() && task.check(3) && !task.check(4));
    task.run([] { return 1; });
    EXPECT_TRUE(task.wait(4) && get<int>(task, 3) == 1);
    task.clear();
    EXPECT_TRUE(task.size() == 0 && task.check() && !task.check(1));
    task.run([] { return 2; });
    EXPECT_TRUE(task.wait() && get<int>(task) == 2);
}

TEST_F(AsyncTest, misuse_is_named) {
    Task empty;
    EXPECT_TRUE(empty.empty() && !empty);
#define EXPECT_NULL_TASK(CALL, NAME) \
    EXPECT_ASSERTION(CALL, "impl != nullptr && \"Async::Task::" NAME "(): task is null\"")
    EXPECT_NULL_TASK(empty.clear(), "clear");
    EXPECT_NULL_TASK(empty.cancel(), "cancel");
    EXPECT_NULL_TASK(empty.index(), "index");
    EXPECT_NULL_TASK(empty.size(), "size");
    EXPECT_NULL_TASK(empty.check(), "check");
    EXPECT_NULL_TASK(empty.wait(), "wait");
    EXPECT_NULL_TASK(empty.get(), "get");
    EXPECT_NULL_TASK(empty.run([] {}), "run");
    Task task = async.run(0u);
    Gate gate;
    task.run([&] {
        gate.pass();
        return true;
    });
    EXPECT_ASSERTION(task.getBool(),
                     "num < uint32_t(offset.load()) && \"Async::TaskImpl::get(): function is not ready\"");
    gate.open();
}

TEST_F(AsyncTest, cancel_keeps_functions_from_running) {
    Gate gate;
    int num = 0;
    Task task = async.run(0u);
    task.run([&] { gate.pass(); });
    for(int i = 0; i < 1000; i++) task.run([&] { num++; });
    Task other = async.run(0u);
    other.run([&] { return ++num; });
    gate.reach();
    task.cancel();
    EXPECT_TRUE(task.isCanceled());
    gate.open();
    EXPECT_TRUE(other.wait());
    EXPECT_EQ(get<int>(other), 1); // of the 1000 none was run before it
    EXPECT_TRUE(task.check(1));
    EXPECT_FALSE(task.check(2) || task.check());
    EXPECT_TRUE(async.wait()); // does not wait for what is canceled
    task.run([&] { num++; });
    EXPECT_TRUE(async.wait() && !task.check(2) && num == 1);
    task.clear(); // usable again
    task.run([&] { num++; });
    EXPECT_TRUE(task.wait() && num == 2);
}

TEST_F(AsyncTest, a_pool_that_waits_hears_of_a_cancel) {
    Gate gate;
    Task task = async.run(0u);
    task.run([&] { gate.pass(); });
    for(int i = 0; i < 1000; i++) task.run([] {});
    gate.reach();
    std::thread waiter([&] { EXPECT_TRUE(async.wait()); });
    std::this_thread::yield();
    task.cancel();
    gate.open();
    waiter.join();
    EXPECT_FALSE(task.check());
}

TEST_F(AsyncTest, pools_end_with_tasks_in_all_states) {
    for(int i = 0; i < 200 / Scale + 2; i++) {
        std::atomic<int> num{0};
        Task left, canceled;
        {
            Async pool;
            pool.init();
            left = pool.run(0u);
            canceled = pool.run(1u);
            for(int k = 0; k < 100; k++) {
                left.run([&] { num++; });
                canceled.run([&] { num++; });
                pool.append(pool.run([&] { num++; }));
                pool.run([&] { num++; });
            }
            canceled.cancel();
        }
        // What was not canceled has run; tasks without a pool take nothing more.
        EXPECT_GE(num, 200);
        EXPECT_TRUE(left.check() && left.wait());
        log.clear();
        EXPECT_FALSE(left.run([&] { num++; }));
        EXPECT_FALSE(left.run(new AsyncFunction([&] { num++; })));
        EXPECT_EQ(log.take(), "Async::TaskImpl::run(): is shut down\nAsync::TaskImpl::run(): is shut down\n");
        EXPECT_EQ(left.size(), 100u);
        if(!canceled.check()) {
            EXPECT_FALSE(canceled.wait());
            EXPECT_EQ(log.take(), "Async::TaskImpl::wait(): is shut down\n");
        }
        left.clear();
    }
}

TEST_F(AsyncTest, dropped_handles_take_their_functions_along) {
    std::atomic<int> begun{0}, ended{0};
    for(int i = 0; i < 100000 / Scale; i++) {
        Task task = async.run([&] {
            begun++;
            ended++;
        });
        if(i % 3 == 0) task.run([&] { begun++, ended++; });
        if(i % 5 == 0) Task copy = task;
        // The last handle goes: what has begun has ended, the rest never runs.
        task = Task();
        EXPECT_EQ(begun, ended);
    }
    EXPECT_TRUE(async.wait());
    EXPECT_EQ(begun, ended);
}

TEST_F(AsyncTest, handles_are_shared_between_threads) {
    Task task = async.run(0u);
    std::vector<std::thread> threads;
    std::atomic<int> num{0};
    for(int i = 0; i < 8; i++) {
        threads.emplace_back([&, copy = task]() mutable {
            for(int k = 0; k < 20000 / Scale; k++) {
                Task other = copy;
                if(k % 100 == 0) other.run([&] { num++; });
                copy = other;
                Task moved = std::move(other);
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_TRUE(task.wait());
    EXPECT_EQ(num, 8 * (20000 / Scale / 100));
}

TEST_F(AsyncTest, no_function_is_forgotten) {
    // Nobody waits, so that nothing but append() wakes a worker up.
    constexpr int num_tasks = 200, num_threads = 8;
    const int num = 1000000 / Scale / num_threads;
    std::atomic<int> sum{0};
    std::vector<Task> tasks;
    for(uint32_t i = 0; i < num_tasks; i++) tasks.push_back(async.run(i % async.getNumThreads()));
    std::vector<std::thread> threads;
    for(int i = 0; i < num_threads; i++) {
        threads.emplace_back([&, i] {
            for(int k = 0; k < num; k++) {
                tasks[size_t(i + k) % num_tasks].run([&] { sum++; });
                if(k % 997 == 0) std::this_thread::yield();
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    for(const Task &task : tasks) {
        while(!task.check()) std::this_thread::yield();
    }
    EXPECT_EQ(sum, num * num_threads);
}

TEST_F(AsyncTest, sleeping_workers_wake_up) {
    for(int i = 0; i < 3000 / Scale; i++) {
        std::atomic<bool> done{false};
        Task task = async.run([&] { done = true; });
        while(!done) std::this_thread::yield();
        // Long enough for the worker to look for work, to go to sleep, and to be on its way there.
        for(int k = 0; k < i % 64; k++) std::this_thread::yield();
        if(i % 64 == 63) usleep(200);
    }
}

TEST_F(AsyncTest, several_threads_wait_for_one_worker) {
    for(int i = 0; i < 400 / Scale; i++) {
        Gate gate;
        Task tasks[3];
        for(Task &task : tasks) task = async.run(0u);
        tasks[0].run([&] { gate.pass(); });
        for(Task &task : tasks) {
            for(int k = 0; k < 5; k++) task.run([] {});
        }
        std::vector<std::thread> threads;
        for(int k = 0; k < 6; k++) {
            threads.emplace_back([&, k] {
                Task task = tasks[k % 3];
                EXPECT_TRUE(task.wait(uint32_t(k % 2 ? 2 : 5)));
            });
        }
        if(i % 2) usleep(50);
        gate.open();
        for(std::thread &thread : threads) thread.join();
    }
    // A waiter whose functions are taken away does not wait for ever.
    Gate gate;
    Task task = async.run(0u);
    task.run([&] { gate.pass(); });
    for(int i = 0; i < 9; i++) task.run([] {});
    bool result = true;
    std::thread waiter([&, copy = task] { result = copy.wait(); });
    usleep(2000);
    std::thread opener([&] {
        usleep(1000);
        gate.open();
    });
    task.clear();
    waiter.join();
    opener.join();
    EXPECT_EQ(log.take(), result ? "" : "Async::TaskImpl::wait(): invalid number of functions 10/0\n");
}

TEST_F(AsyncTest, tasks_use_their_own_pool) {
    // Each task spreads work over all workers and waits for it, all at once and several levels deep.
    std::atomic<int> num{0};
    std::function<void(int)> spread = [&](int level) {
        Array<Task> tasks;
        for(uint32_t i = 0; i < async.getNumThreads(); i++) {
            Task task = async.run(i);
            task.run([&, level] {
                num++;
                if(level) spread(level - 1);
            });
            tasks.append(task);
        }
        EXPECT_TRUE(async.wait(tasks) && async.check(tasks));
    };
    spread(4);
    EXPECT_EQ(num, 4 + 16 + 64 + 256 + 1024);
    EXPECT_TRUE(async.wait());
}

TEST_F(AsyncTest, workers_wait_for_queued_tasks_of_one_another) {
    for(int i = 0; i < 300 / Scale + 1; i++) {
        Gate gate;
        std::atomic<int> num{0};
        Task tasks[4];
        for(uint32_t k = 0; k < 4; k++) {
            tasks[k] = async.run(k);
            tasks[k].run([&] { gate.pass(); });
        }
        // Each waits for a function that stands in the queue of the next worker, behind one that waits as well.
        Task behind[4];
        for(uint32_t k = 0; k < 4; k++) behind[k] = async.run(k);
        for(uint32_t k = 0; k < 4; k++) tasks[k].run([&, k] { EXPECT_TRUE(behind[(k + 1) % 4].wait()); });
        for(uint32_t k = 0; k < 4; k++) behind[k].run([&] { num++; });
        gate.open();
        EXPECT_TRUE(async.wait(tasks, 4));
        EXPECT_EQ(num, 4);
    }
}

TEST_F(AsyncTest, functions_handle_their_own_task) {
    // Adding to the task that runs, and a chain that is much longer than the stack is deep.
    Task task = async.run(0u);
    std::atomic<int> num{0};
    std::function<void()> chain = [&] {
        if(++num < 10000) task.run([&] { chain(); });
    };
    task.run([&] { chain(); });
    while(num < 10000 && task.wait()) {}
    EXPECT_EQ(num, 10000);
    std::function<void()> nested = [&] {
        if(++num < 20000) async.run([&] { nested(); }).wait();
    };
    num = 19900;
    EXPECT_TRUE(async.run([&] { nested(); }).wait());
    EXPECT_EQ(num, 20000);

    // Waiting for itself can't end.
    task.clear();
    task.run([&] { return task.wait(); });
    EXPECT_TRUE(task.wait());
    EXPECT_FALSE(task.getBool());
    EXPECT_EQ(log.take(), "Async::TaskImpl::wait(): can't wait for itself\n");
    task.run([&] { return async.wait() || async.shutdown(); });
    EXPECT_TRUE(task.wait());
    EXPECT_FALSE(task.getBool(1));
    EXPECT_EQ(log.take(),
              "Async::wait(): is called by its own worker\nAsync::shutdown(): is called by its own worker\n");

    // Clearing: what was there goes when the function has returned, what is added afterwards stays.
    task.clear();
    Gate gate, ready;
    task.run([&] {
        ready.pass();
        task.clear();
        task.run([] { return 5; });
        gate.pass();
    });
    for(int i = 0; i < 100; i++) task.run([&] { ADD_FAILURE(); });
    ready.open();
    gate.open();
    while(task.size() != 1 || !task.check()) std::this_thread::yield();
    EXPECT_EQ(get<int>(task), 5);
}

TEST_F(AsyncTest, the_last_handle_may_go_inside_its_function) {
    std::atomic<int> num{0};
    // Counts when the handle is gone: until then a waiter of the pool may hold the task as well, and lets it go on.
    struct Count {
        std::atomic<int> *num;
        ~Count() { ++*num; }
    };
    struct Holder {
        Count count;
        Task task;
    };
    for(int i = 0; i < 20000 / Scale; i++) {
        auto *holder = new Holder{{&num}, async.run(uint32_t(i) % 4)};
        Task task = holder->task;
        Gate gate;
        task.run([&, holder] {
            gate.pass();
            delete holder;
        });
        if(i % 2) task.run([] { ADD_FAILURE() << "a task without handles"; });
        gate.reach();
        task = Task();
        gate.open();
        if(i % 2 == 0) {
            EXPECT_TRUE(async.wait());
        }
        while(num != i + 1) std::this_thread::yield();
    }
    // Functions whose destructors let other tasks go and use the pool.
    Task outer = async.run(0u);
    outer.run([inner = async.run([] {})] {});
    struct Runner {
        Async *async;
        std::atomic<int> *num;
        ~Runner() {
            async->run([num = num] { ++*num; }).wait();
        }
    };
    num = 0;
    outer.run([runner = std::make_shared<Runner>(Runner{&async, &num})] {});
    num = 0;
    outer.clear();
    EXPECT_EQ(num, 1);
}

TEST_F(AsyncTest, functions_that_throw_count_as_completed) {
    Task task = async.run([] { throw 1; });
    task.run([] { throw std::runtime_error("reason"); });
    task.run([]() -> int { throw String("text"); });
    task.run([] { return 4; });
    EXPECT_TRUE(task.wait());
    EXPECT_EQ(get<int>(task, 2), 0);
    EXPECT_EQ(get<int>(task, 3), 4);
    EXPECT_EQ(log.take(), "AsyncThread::process(): function throws\n"
                          "AsyncThread::process(): function throws \"reason\"\n"
                          "AsyncThread::process(): function throws \"text\"\n");
}

TEST_F(AsyncTest, functions_of_any_size_find_room) {
    Task task = async.run(1u);
    uint64_t sum = 0;
    struct Small {
        uint64_t words[2];
    };
    struct Large {
        uint64_t words[5000];
    };
    const auto add = [&](auto value) {
        value.words[0] = array_size(value.words);
        task.run([value, &sum] { sum += value.words[0]; });
    };
    // A copy that may throw does so in the caller, and leaves the task usable.
    struct Throwing {
        Throwing() = default;
        Throwing(const Throwing &) { throw 1; }
        void operator()() const {}
    } throwing;
    for(int i = 0; i < 300; i++) {
        add(Small());
        if(i % 50 == 0) add(Large());
        EXPECT_THROW(task.run(throwing), int);
    }
    EXPECT_TRUE(task.wait());
    EXPECT_EQ(sum, 300u * 2u + 6u * 5000u);
}

TEST_F(AsyncTest, the_pool_keeps_tasks_alive) {
    Gate gate;
    std::atomic<int> num{0};
    for(int i = 0; i < 3; i++) {
        Task task = async.run(0u);
        if(i == 0) task.run([&] { gate.pass(); });
        task.run([&] { num++; });
        async.append(task);
    }
    EXPECT_EQ(async.getNumTasks(), 3u);
    EXPECT_EQ(async.getNumTasks(true), 3u);
    EXPECT_FALSE(async.check());
    gate.open();
    EXPECT_TRUE(async.wait());
    EXPECT_TRUE(async.check());
    EXPECT_EQ(num, 3);
    EXPECT_EQ(async.getNumTasks(), 0u);
    Task done = async.run([] {});
    done.wait();
    async.append(done);
    EXPECT_EQ(async.getNumTasks(), 1u);
    EXPECT_EQ(async.getNumTasks(true), 0u);
    async.clear();
    EXPECT_EQ(async.getNumTasks(), 0u);
}

TEST_F(AsyncTest, threads_share_the_pool) {
    std::vector<std::thread> threads;
    std::atomic<int> num{0};
    for(int i = 0; i < 4; i++) {
        threads.emplace_back([&] {
            for(int k = 0; k < 500 / Scale; k++) {
                Array<Task> tasks;
                for(int t = 0; t < 10; t++) {
                    tasks.append(async.run([&] { num++; }));
                    async.append(tasks.back());
                }
                EXPECT_TRUE(k % 3 || async.wait());
                EXPECT_TRUE(k % 3 != 1 || async.wait(tasks));
                if(k % 3 == 2) async.clear();
                EXPECT_LE(async.getNumTasks(true), async.getNumTasks() + 40);
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_TRUE(async.wait());
    EXPECT_GE(num, 4 * (500 / Scale) * 10 * 2 / 3);
}
