// Public handles against what stands behind them: a getter through the shared library and the same getter of the core
// object, and the copy of a handle against that of a shared pointer.

#include <core/OstrevanBlob.h>
#include <memory>

#include "Compare.h"
#include "KolmBlob.h"

namespace {

constexpr int num_calls = 100000;

void forwarded_getter(benchmark::State &state) {
    Ostrevan::Blob handle("blob");
    Kolm::Blob core("blob");
    Kolm::Blob *volatile volatile_core = &core;
    compare(
        state,
        [&] {
            for(int i = 0; i < num_calls; i++) benchmark::DoNotOptimize(handle.getCapacity());
        },
        [&] {
            Kolm::Blob *ptr = volatile_core;
            for(int i = 0; i < num_calls; i++) benchmark::DoNotOptimize(ptr->getCapacity());
        });
    state.counters["extra_ns"] = (state.counters["ours_us"] - state.counters["peer_us"]) * 1000.0 / num_calls;
}

// A handle of two levels, made, copied and dropped; the peer has one counter and one pointer.
void copied_handle(benchmark::State &state) {
    Ostrevan::Blob handle("blob");
    auto shared = std::make_shared<Kolm::Blob>("blob");
    compare(
        state,
        [&] {
            for(int i = 0; i < num_calls; i++) {
                Ostrevan::Blob copy(handle);
                benchmark::DoNotOptimize(copy);
            }
        },
        [&] {
            for(int i = 0; i < num_calls; i++) {
                auto copy = shared;
                benchmark::DoNotOptimize(copy);
            }
        });
}

BENCHMARK(forwarded_getter)->UseManualTime();
BENCHMARK(copied_handle)->UseManualTime();

} // namespace
