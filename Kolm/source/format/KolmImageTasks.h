// Spreads independent pieces of image work over the workers of an Async.

#pragma once

#include "KolmAsync.h"

namespace Kolm {

/// Calls func(index) for 0 to \p num - 1 and returns when all are done: in order if \p async is null or not running.
/// Each worker takes the next index when it is done with one.
template<class Func> void run_tasks(Async *async, uint32_t num, const Func &func) {
    Atomici32 next(0);
    const auto take = [&next, &func, num]() {
        for(uint32_t i; (i = uint32_t(next++)) < num;) func(i);
    };
    const uint32_t num_threads = (async && async->isInitialized()) ? min(async->getNumThreads(), num) : 0;
    if(num_threads > 1) {
        ArrayStack<Async::Task, 64> tasks;
        for(uint32_t i = 0; i < num_threads; i++) tasks.append(async->run(take));
        for(const Async::Task &task : tasks) {
            if(task) task.wait();
        }
    }
    take(); // all of it without workers, else what is left if one could not be had
}

/// Calls func(begin, end) for bands of \p band rows.
template<class Func> void run_rows(Async *async, uint32_t rows, uint32_t band, const Func &func) {
    const uint32_t num = rows / band + (rows % band != 0);
    run_tasks(async, num, [&](uint32_t i) { func(i * band, min((i + 1) * band, rows)); });
}

} // namespace Kolm
