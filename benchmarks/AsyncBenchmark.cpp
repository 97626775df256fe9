// Tasks on two workers against a task group of oneTBB on two threads, and against std::async, which has no pool.

#include <future>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include "Compare.h"
#include "KolmAsync.h"

namespace {

using Kolm::Array;
using Kolm::Async;

constexpr uint64_t two_workers = 3;
constexpr int num_functions = 100000;

Async &get_async() {
    static Async async;
    if(!async.isInitialized()) async.init();
    return async;
}

// A task group in an arena of two threads, of which the caller is one.
template<class Func> void run_group(Func func) {
    static tbb::task_arena arena(2);
    arena.execute([&] {
        tbb::task_group group;
        for(int i = 0; i < num_functions; i++) group.run([func, i] { func(i); });
        group.wait();
    });
}

// The functions on one task for each worker, in turns.
template<class Func> void run_tasks(Func func) {
    Async &async = get_async();
    Async::Task tasks[2] = {async.run(0u), async.run(1u)};
    for(int i = 0; i < num_functions; i++) tasks[i & 1].run([func, i] { func(i); });
    async.wait(tasks, 2);
}

void empty_functions(benchmark::State &state) {
    const auto func = [](int) {};
    compare(
        state, [&] { run_tasks(func); }, [&] { run_group(func); });
    state.counters["ours_ns"] = state.counters["ours_us"] * 1e3 / num_functions;
    state.counters["peer_ns"] = state.counters["peer_us"] * 1e3 / num_functions;
}

// A task of its own for each function.
void single_tasks(benchmark::State &state) {
    Async &async = get_async();
    compare(
        state,
        [&] {
            Array<Async::Task> tasks;
            tasks.reserve(num_functions);
            for(int i = 0; i < num_functions; i++) {
                Async::Task task = async.run(two_workers);
                task.run([] {});
                tasks.append(std::move(task));
            }
            async.wait(tasks);
        },
        [&] { run_group([](int) {}); });
    state.counters["ours_ns"] = state.counters["ours_us"] * 1e3 / num_functions;
    state.counters["peer_ns"] = state.counters["peer_us"] * 1e3 / num_functions;
}

// Work that the compiler keeps, as long as asked for on this machine.
class Work {
public:
    explicit Work(double time) {
        double best = 1e30;
        num = 1000;
        for(int i = 0; i < 100; i++) {
            const auto begin = std::chrono::steady_clock::now();
            run(i);
            const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - begin;
            best = std::min(best, duration.count());
        }
        num = int(time / best * num);
    }
    void run(int seed) const {
        uint32_t value = uint32_t(seed);
        for(int i = 0; i < num; i++) {
            value = value * 1664525u + 1013904223u;
            benchmark::DoNotOptimize(value);
        }
    }

private:
    int num;
};

void small_functions(benchmark::State &state) {
    const Work work(0.7e-6);
    const auto func = [work](int i) { work.run(i); };
    compare(
        state, [&] { run_tasks(func); }, [&] { run_group(func); });
}

void run_and_wait(benchmark::State &state) {
    Async &async = get_async();
    constexpr int num = 100;
    compare(
        state,
        [&] {
            for(int i = 0; i < num; i++) async.run([i] { return i; }).wait();
        },
        [&] {
            for(int i = 0; i < num; i++) std::async(std::launch::async, [i] { return i; }).wait();
        });
    state.counters["ours_us"] = state.counters["ours_us"] / num;
    state.counters["peer_us"] = state.counters["peer_us"] / num;
}

BENCHMARK(empty_functions)->UseManualTime();
BENCHMARK(single_tasks)->UseManualTime();
BENCHMARK(small_functions)->UseManualTime();
BENCHMARK(run_and_wait)->UseManualTime();

} // namespace
