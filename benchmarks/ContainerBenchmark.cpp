// Containers, sort and allocator against those of the standard library, with the memory of an entry beside the peer's.

#include <algorithm>
#include <atomic>
#include <malloc.h>
#include <map>
#include <numeric>
#include <random>
#include <stdlib.h>

#include "Compare.h"
#include "KolmArray.h"
#include "KolmMap.h"
#include "KolmRadixMap.h"
#include "KolmSort.h"

using namespace Kolm;

namespace {

constexpr uint32_t num_entries = 1000000;

using Keys = std::vector<uint32_t>;

Keys random_keys() {
    std::mt19937 random(1);
    Keys keys(num_entries);
    for(uint32_t &key : keys) key = uint32_t(random());
    return keys;
}
Keys dense_keys() {
    Keys keys(num_entries);
    std::iota(keys.begin(), keys.end(), 0u);
    return keys;
}
Keys shuffled(Keys keys) {
    std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
    return keys;
}

// Bytes of the heap, blocks and their headers.
size_t get_heap() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}
template<class Func> double get_entry_bytes(Func func) {
    const size_t heap = get_heap();
    const auto object = func();
    return double(get_heap() - heap) / num_entries;
}

// One interface for the three maps.
template<class T> struct Ours {
    T map;
    void insert(uint32_t key) { map.append(key, key); }
    bool find(uint32_t key) const { return map.get(key) != nullptr; }
    void erase(uint32_t key) { map.remove(key); }
    void clear() { map.clear(); }
    uint64_t walk() const {
        uint64_t sum = 0;
        for(auto it = map.begin(); it; ++it) sum += get(*it);
        return sum;
    }
    static uint32_t get(const MapData<uint32_t, uint32_t> &data) { return data.data; }
    static uint32_t get(uint32_t data) { return data; }
};
using OursMap = Ours<Map<uint32_t, uint32_t>>;
using OursRadix = Ours<RadixMap<uint32_t, uint32_t>>;
struct PeerMap {
    std::map<uint32_t, uint32_t> map;
    void insert(uint32_t key) { map[key] = key; }
    bool find(uint32_t key) const { return map.find(key) != map.end(); }
    void erase(uint32_t key) { map.erase(key); }
    void clear() { map.clear(); }
    uint64_t walk() const {
        uint64_t sum = 0;
        for(const auto &row : map) sum += row.second;
        return sum;
    }
};

template<class T> void fill(T &target, const Keys &keys) {
    for(const uint32_t key : keys) target.insert(key);
}

template<class T> void insert(benchmark::State &state, Keys (*get_keys)()) {
    const Keys keys = get_keys();
    T ours;
    PeerMap peer;
    compare(
        state, [&] { fill(ours, keys); }, [&] { fill(peer, keys); }, 0.0, [&] { ours.clear(); }, [&] { peer.clear(); });
    ours.clear();
    peer.clear();
    malloc_trim(0);
    state.counters["ours_entry"] = get_entry_bytes([&] {
        T object;
        fill(object, keys);
        return object;
    });
    state.counters["peer_entry"] = get_entry_bytes([&] {
        PeerMap object;
        fill(object, keys);
        return object;
    });
}

template<class T> void find(benchmark::State &state, Keys (*get_keys)()) {
    const Keys keys = get_keys();
    const Keys wanted = shuffled(keys);
    T ours;
    PeerMap peer;
    fill(ours, keys);
    fill(peer, keys);
    uint32_t sum = 0;
    const auto work = [&](const auto &target) {
        for(const uint32_t key : wanted) sum += target.find(key);
        benchmark::DoNotOptimize(sum);
    };
    compare(
        state, [&] { work(ours); }, [&] { work(peer); });
}

template<class T> void walk(benchmark::State &state, Keys (*get_keys)()) {
    const Keys keys = get_keys();
    T ours;
    PeerMap peer;
    fill(ours, keys);
    fill(peer, keys);
    compare(
        state, [&] { benchmark::DoNotOptimize(ours.walk()); }, [&] { benchmark::DoNotOptimize(peer.walk()); });
}

template<class T> void erase(benchmark::State &state, Keys (*get_keys)()) {
    const Keys keys = get_keys();
    const Keys wanted = shuffled(keys);
    T ours;
    PeerMap peer;
    const auto work = [&](auto &target) {
        for(const uint32_t key : wanted) target.erase(key);
    };
    compare(
        state, [&] { work(ours); }, [&] { work(peer); }, 0.0, [&] { fill(ours, keys); }, [&] { fill(peer, keys); });
}

void array_append(benchmark::State &state) {
    const int size = int(state.range(0));
    const int rounds = 10000000 / size;
    compare(
        state,
        [&] {
            for(int k = 0; k < rounds; k++) {
                Array<int> array;
                for(int i = 0; i < size; i++) array.append(i);
                benchmark::DoNotOptimize(array.get());
            }
        },
        [&] {
            for(int k = 0; k < rounds; k++) {
                std::vector<int> array;
                for(int i = 0; i < size; i++) array.push_back(i);
                benchmark::DoNotOptimize(array.data());
            }
        });
}

void array_sum(benchmark::State &state) {
    const uint32_t size = 10000;
    Array<int> ours;
    std::vector<int> peer;
    for(uint32_t i = 0; i < size; i++) {
        ours.append(int(i));
        peer.push_back(int(i));
    }
    const auto work = [&](const auto &array) {
        for(int k = 0; k < 100; k++) {
            int sum = 0;
            for(uint32_t i = 0; i < array.size(); i++) sum += array[i];
            benchmark::DoNotOptimize(sum);
        }
    };
    compare(
        state, [&] { work(ours); }, [&] { work(peer); });
}

Keys sort_keys(const char *order) {
    Keys keys(10000000);
    std::mt19937 random(3);
    for(size_t i = 0; i < keys.size(); i++) {
        switch(order[0]) {
        case 'r': keys[i] = uint32_t(random()); break;
        case 's': keys[i] = uint32_t(i); break;
        case 'd': keys[i] = uint32_t(keys.size() - i); break;
        default: keys[i] = 7; break;
        }
    }
    return keys;
}

void sort(benchmark::State &state, const char *order) {
    const Keys keys = sort_keys(order);
    Keys ours, peer;
    compare(
        state, [&] { quickSort(ours.data(), uint32_t(ours.size())); }, [&] { std::sort(peer.begin(), peer.end()); },
        double(keys.size() * 4), [&] { ours = keys; }, [&] { peer = keys; });
    if(ours != peer) state.SkipWithError("not sorted");
}

// The peer does what any allocator with two shared counters must: two locked additions, two locked reads and two
// locked subtractions.
void allocate(benchmark::State &state) {
    static std::atomic<int64_t> memory;
    static std::atomic<int32_t> blocks;
    constexpr int num = 1000000;
    compare(
        state,
        [] {
            for(int i = 0; i < num; i++) {
                void *ptr = Allocator::allocate(64);
                benchmark::DoNotOptimize(ptr);
                Allocator::free(ptr, 64);
            }
        },
        [] {
            for(int i = 0; i < num; i++) {
                void *ptr = malloc(64);
                memory += 64;
                blocks += 1;
                benchmark::DoNotOptimize(ptr);
                if(blocks.fetch_add(0) <= 0 || memory.fetch_add(0) < 64) abort();
                free(ptr);
                memory -= 64;
                blocks -= 1;
            }
        });
}

BENCHMARK(array_append)->Arg(100)->Arg(100000)->Arg(10000000)->UseManualTime();
BENCHMARK(array_sum)->UseManualTime();
BENCHMARK(allocate)->UseManualTime();

#define CONTAINER_BENCHMARK(FUNC, NAME, TYPE, KEYS)                          \
    void FUNC##_##NAME(benchmark::State &state) { FUNC<TYPE>(state, KEYS); } \
    BENCHMARK(FUNC##_##NAME)->UseManualTime()->Iterations(7)->Unit(benchmark::kMillisecond)
CONTAINER_BENCHMARK(find, map_random, OursMap, random_keys);
CONTAINER_BENCHMARK(walk, map_random, OursMap, random_keys);
CONTAINER_BENCHMARK(insert, map_random, OursMap, random_keys);
CONTAINER_BENCHMARK(erase, map_random, OursMap, random_keys);
CONTAINER_BENCHMARK(insert, map_ordered, OursMap, dense_keys);
CONTAINER_BENCHMARK(find, radix_dense, OursRadix, dense_keys);
CONTAINER_BENCHMARK(insert, radix_dense, OursRadix, dense_keys);
CONTAINER_BENCHMARK(walk, radix_dense, OursRadix, dense_keys);
CONTAINER_BENCHMARK(find, radix_random, OursRadix, random_keys);
CONTAINER_BENCHMARK(insert, radix_random, OursRadix, random_keys);
CONTAINER_BENCHMARK(walk, radix_random, OursRadix, random_keys);
CONTAINER_BENCHMARK(erase, radix_random, OursRadix, random_keys);

#define SORT_BENCHMARK(NAME, ORDER) \
    BENCHMARK_CAPTURE(sort, NAME, ORDER)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond)
SORT_BENCHMARK(random, "random");
SORT_BENCHMARK(sorted, "sorted");
SORT_BENCHMARK(reversed, "down");
SORT_BENCHMARK(equal, "equal");

} // namespace
