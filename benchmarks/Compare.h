// Measures the library and a peer in one run, by turns, so that both see the same machine.

#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <vector>

/// Runs \p ours and \p peer by turns and reports the median time of each and ours / peer; lower is better. "best_ratio"
/// compares the fastest twentieth of each, which a machine that others share disturbs least.
/// \p bytes, if not 0, is what one call works on, for the throughput of both.
/// \p prepare_ours and \p prepare_peer run before each call and are not measured.
template<class Ours, class Peer, class PrepareOurs, class PreparePeer>
void compare(benchmark::State &state, Ours ours, Peer peer, double bytes, PrepareOurs prepare_ours,
             PreparePeer prepare_peer) {
    using Clock = std::chrono::steady_clock;
    std::vector<double> ours_times, peer_times;
    prepare_ours();
    ours();
    prepare_peer();
    peer();
    for(auto _ : state) {
        prepare_ours();
        const auto t0 = Clock::now();
        ours();
        const auto t1 = Clock::now();
        prepare_peer();
        const auto t2 = Clock::now();
        peer();
        const auto t3 = Clock::now();
        ours_times.push_back(std::chrono::duration<double>(t1 - t0).count());
        peer_times.push_back(std::chrono::duration<double>(t3 - t2).count());
        state.SetIterationTime(ours_times.back());
    }
    std::sort(ours_times.begin(), ours_times.end());
    std::sort(peer_times.begin(), peer_times.end());
    const double ours_time = ours_times[ours_times.size() / 2];
    const double peer_time = peer_times[peer_times.size() / 2];
    state.counters["ratio"] = ours_time / peer_time;
    state.counters["best_ratio"] = ours_times[ours_times.size() / 20] / peer_times[peer_times.size() / 20];
    state.counters["ours_us"] = ours_time * 1e6;
    state.counters["peer_us"] = peer_time * 1e6;
    if(bytes > 0.0) {
        state.counters["ours_MB/s"] = bytes / ours_time * 1e-6;
        state.counters["peer_MB/s"] = bytes / peer_time * 1e-6;
    }
}
template<class Ours, class Peer> void compare(benchmark::State &state, Ours ours, Peer peer, double bytes = 0.0) {
    compare(
        state, ours, peer, bytes, [] {}, [] {});
}

/// The same for work that has no peer: reports calls per second of one unit of work.
template<class Ours> void measure(benchmark::State &state, const char *name, double units, Ours ours) {
    using Clock = std::chrono::steady_clock;
    double best = 1e30;
    ours();
    for(auto _ : state) {
        const auto t0 = Clock::now();
        ours();
        const double time = std::chrono::duration<double>(Clock::now() - t0).count();
        best = std::min(best, time);
        state.SetIterationTime(time);
    }
    state.counters[name] = units / best;
}
