// Spreads independent pieces of image work over the workers of an Async.

#pragma once

#include "KolmBase.h"

namespace Kolm {

class Async;

/// Calls func(index) for 0 to \p num - 1 and returns when all are done: in order if \p async is null.
template<class Func> void run_tasks(Async *, uint32_t num, const Func &func) {
    for(uint32_t i = 0; i < num; i++) func(i);
}

/// Calls func(begin, end) for bands of \p band rows.
template<class Func> void run_rows(Async *async, uint32_t rows, uint32_t band, const Func &func) {
    const uint32_t num = rows / band + (rows % band != 0);
    run_tasks(async, num, [&](uint32_t i) { func(i * band, min((i + 1) * band, rows)); });
}

} // namespace Kolm
