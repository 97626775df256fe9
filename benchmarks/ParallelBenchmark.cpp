// Prefix scan and radix sort beside a copy of the same words and beside the processor.
//
// Without VK_DRIVER_FILES in the environment the loader chooses the device.

#include <algorithm>
#include <ctime>
#include <memory>
#include <random>

#include "Compare.h"
#include "KolmCompute.h"
#include "KolmRadixSort.h"
#include "VKDevice.h"
#include "VKOffscreen.h"

using namespace Kolm;

namespace {

struct Gpu {
    Gpu() {
        if(offscreen.create()) device.reset(new VKDevice(&offscreen));
    }
    VKOffscreen offscreen;
    std::unique_ptr<VKDevice> device;
};

// A copy of vectors, the least that touches all of the memory.
struct CopyKernel {
    explicit CopyKernel(Device *device) : kernel(device->createKernel()) {
        kernel->setUniforms(1).setStorages(2).setStorageOffset(1);
        created = kernel->createShaderGLSL(R"(
            layout(local_size_x = 64) in;
            layout(std140, binding = 0) uniform Parameters { uint size; };
            layout(std430, binding = 1) readonly buffer Source { uvec4 src[]; };
            layout(std430, binding = 2) writeonly buffer Dest { uvec4 dest[]; };
            void main() {
                uint id = gl_GlobalInvocationID.x;
                if(id < size) dest[id] = src[id];
            })") &&
                  kernel->create();
    }
    void record(Compute *compute, Buffer *dest, Buffer *src, uint32_t size) {
        compute->setKernel(kernel.get());
        compute->setUniform(0, size);
        compute->setStorageBuffers(0, {src, dest});
        compute->dispatch(size, 1, 1);
    }
    std::unique_ptr<Kernel> kernel;
    bool created = false;
};

template<class Record> void run(Device *device, const Record &record) {
    {
        std::unique_ptr<Compute> compute(device->createCompute());
        record(compute.get());
    }
    device->finish();
}

// Processor time of all threads, in milliseconds. A software driver shares the machine with whatever else runs there.
double get_cpu_time() { return double(std::clock()) * 1e3 / CLOCKS_PER_SEC; }

// Adds up the processor time of calls, for a counter of their mean.
struct CpuTime {
    template<class Call> void add(const Call &call) {
        const double begin = get_cpu_time();
        call();
        if(num++) sum += get_cpu_time() - begin;
    }
    // without the first one, which compiles
    double get() const { return (num > 1) ? sum / (num - 1) : 0.0; }
    double sum = 0.0;
    uint32_t num = 0;
};

void report_cpu(benchmark::State &state, const CpuTime &ours, const CpuTime &peer) {
    state.counters["ours_cpu_ms"] = ours.get();
    state.counters["peer_cpu_ms"] = peer.get();
    state.counters["cpu_ratio"] = ours.get() / peer.get();
}

std::vector<uint32_t> make_words(size_t size) {
    std::mt19937 random(1);
    std::vector<uint32_t> words(size);
    for(uint32_t &word : words) word = uint32_t(random());
    return words;
}

void scan(benchmark::State &state) {
    Gpu gpu;
    if(gpu.device == nullptr) return state.SkipWithError("no device");
    const uint32_t size = uint32_t(state.range(0));
    PrefixScan prefix_scan;
    CopyKernel copy(gpu.device.get());
    if(!prefix_scan.create(gpu.device.get(), PrefixScan::ModeSingle, uint32_t(state.range(1))) || !copy.created)
        return state.SkipWithError("can't create kernels");
    const std::vector<uint32_t> words = make_words(size);
    std::unique_ptr<Buffer> data(gpu.device->createBuffer(Buffer::FlagStorage, words.data(), size * 4));
    std::unique_ptr<Buffer> dest(gpu.device->createBuffer(Buffer::FlagStorage, size * 4));
    CpuTime ours, peer;
    const auto scan_data = [&](Compute *compute) { prefix_scan.dispatch(compute, data.get(), 0, size); };
    const auto copy_data = [&](Compute *compute) { copy.record(compute, dest.get(), data.get(), size / 4); };
    compare(
        state, [&] { ours.add([&] { run(gpu.device.get(), scan_data); }); },
        [&] { peer.add([&] { run(gpu.device.get(), copy_data); }); }, size * 4.0);
    report_cpu(state, ours, peer);
}
BENCHMARK(scan)->Args({1000000, 256})->Args({60000, 64})->Args({16000000, 1024})->UseManualTime()->Iterations(10);

void sort(benchmark::State &state) {
    Gpu gpu;
    if(gpu.device == nullptr) return state.SkipWithError("no device");
    const uint32_t size = uint32_t(state.range(0));
    PrefixScan prefix_scan;
    RadixSort radix_sort;
    if(!prefix_scan.create(gpu.device.get(), PrefixScan::ModeSingle, 256) ||
       !radix_sort.create(gpu.device.get(), RadixSort::ModeSingle, &prefix_scan, size, uint32_t(state.range(1))))
        return state.SkipWithError("can't create kernels");
    const std::vector<uint32_t> words = make_words(size_t(size) * 2);
    std::unique_ptr<Buffer> data(gpu.device->createBuffer(Buffer::FlagStorage, size * size_t(8)));
    std::vector<uint32_t> keys(size);
    CpuTime ours, peer;
    const auto sort_data = [&](Compute *compute) { radix_sort.dispatch(compute, data.get(), 0, size, size); };
    compare(
        state, [&] { ours.add([&] { run(gpu.device.get(), sort_data); }); },
        [&] { peer.add([&] { std::sort(keys.begin(), keys.end()); }); }, size * 8.0,
        [&] {
            gpu.device->setBuffer(data.get(), words.data(), size * size_t(8));
            gpu.device->finish();
        },
        [&] { std::copy(words.begin(), words.begin() + size, keys.begin()); });
    report_cpu(state, ours, peer);
}
BENCHMARK(sort)->Args({1000000, 64})->Args({1000000, 256})->UseManualTime()->Iterations(5);

} // namespace
