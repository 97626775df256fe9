// ostrevan scan, ostrevan sort: the GPU algorithms on random numbers, checked against the processor and timed beside a
// copy of the same memory.

#include "Commands.h"

#include <Ostrevan.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

using namespace Ostrevan;

namespace {

constexpr uint32_t MaxSize = 1u << 28;
constexpr uint32_t NumRuns = 5; // the fastest counts

struct Options {
    const char *command = nullptr;
    bool sort = false;
    uint32_t size = 1000000;
    uint32_t bits = 32;
    uint32_t seed = 1;
    uint32_t groups = 0;
    uint32_t adapter = ~0u;
    bool order = false;
    bool indirect = false;
    bool check = false;
    bool json = false;
};

struct Result {
    uint32_t groups = 0;
    double time = 0.0;      // seconds
    double copy_time = 0.0; // of as many bytes as the data have
    double bytes = 0.0;     // that the algorithm moves
    double copy_bytes = 0.0;
    bool equal = true;
};

void print_help(bool sort) {
    printf("Usage: ostrevan %s [--size N] %s[--seed N] [--groups N] [--indirect] [--check] [--json] [--adapter N]\n\n",
           sort ? "sort" : "scan", sort ? "[--bits N] [--order] " : "");
    if(sort)
        printf("Sorts pairs of random 32-bit keys and values on an adapter and tells pairs per second.\n\n");
    else
        printf("Makes exclusive prefix sums of random 32-bit numbers on an adapter and tells elements per second.\n\n");
    printf("  --size N      elements, 1 to %u; default 1000000\n", MaxSize);
    if(sort)
        printf("  --bits N      lowest bits of the keys to sort by, 1 to 32; the keys have no others\n"
               "  --order       values are not moved but made: the order of the elements\n");
    printf("  --seed N      another number gives other elements\n"
           "  --groups N    threads of a group, a power of two; without it what suits the adapter and the size\n"
           "  --indirect    the size is read by the adapter from a buffer\n"
           "  --check       compares all results with those of the processor; exit code 1 if one differs\n"
           "  --json        prints the result as an object\n"
           "  --adapter N   adapter by its number in \"ostrevan info\"; without it the first\n\n"
           "The fraction of bandwidth is that of the bytes which the algorithm has to move to those that a plain copy\n"
           "moves in the same time. Example:\n"
           "  ostrevan %s --size 16000000 --check\n",
           sort ? "sort --bits 16" : "scan");
}

bool parse_number(const char *text, uint32_t &value) {
    if(*text < '0' || *text > '9') return false;
    char *end = nullptr;
    const unsigned long long number = strtoull(text, &end, 10);
    value = uint32_t(number);
    return *end == 0 && number <= UINT32_MAX;
}

// Exit code, or -1 to go on.
int parse(int argc, char **argv, Options &options) {
    const struct {
        const char *name;
        bool *flag;
        bool sort;
    } flags[] = {{"--order", &options.order, true},
                 {"--indirect", &options.indirect, false},
                 {"--check", &options.check, false},
                 {"--json", &options.json, false}};
    const struct {
        const char *name;
        uint32_t *value;
        uint32_t first, last;
        bool sort;
    } numbers[] = {{"--size", &options.size, 1, MaxSize, false},
                   {"--bits", &options.bits, 1, 32, true},
                   {"--seed", &options.seed, 0, ~0u, false},
                   {"--groups", &options.groups, 1, 65536, false},
                   {"--adapter", &options.adapter, 0, ~0u, false}};
    for(int i = 1; i < argc; i++) {
        const char *name = argv[i];
        if(strcmp(name, "--help") == 0 || strcmp(name, "-h") == 0) {
            print_help(options.sort);
            return ExitDone;
        }
        bool known = false;
        for(const auto &flag : flags) {
            if(strcmp(name, flag.name) || (flag.sort && !options.sort)) continue;
            *flag.flag = known = true;
        }
        for(const auto &number : numbers) {
            if(strcmp(name, number.name) || (number.sort && !options.sort)) continue;
            known = true;
            if(i + 1 >= argc) return usageError(options.command, "\"%s\" needs a value", name);
            const char *value = argv[++i];
            if(!parse_number(value, *number.value) || *number.value < number.first || *number.value > number.last)
                return usageError(options.command, "\"%s\" is no number from %u to %u for %s", value, number.first,
                                  number.last, name);
        }
        if(!known) return usageError(options.command, "unknown option \"%s\"", name);
    }
    if(options.groups & (options.groups - 1))
        return usageError(options.command, "%u threads are no power of two", options.groups);
    return -1;
}

std::vector<std::string> errors;

bool hold_errors(Log::Level level, size_t, const char *text, void *) {
    if(level <= Log::Error) errors.push_back(text);
    return true;
}

int fail(const Options &options, const char *what) {
    std::string line = errors.empty() ? "" : ": " + errors[0];
    while(!line.empty() && line.back() == '\n') line.pop_back();
    fprintf(stderr, "ostrevan %s: %s%s\n", options.command, what, line.c_str());
    return ExitFailed;
}

// Largest size that groups of the scan can do, or those of the sort with counts that such groups scan.
uint64_t get_limit(uint64_t scan_groups, uint64_t sort_groups = 8) {
    return std::max(scan_groups * 4 * scan_groups * 4 * (sort_groups / 8), sort_groups * 4);
}

// A group whose subgroups are no more than one of them has lanes is the fastest; beyond 256 threads there is nothing to
// gain but size.
uint32_t get_groups(const Options &options, const Device::Features &features) {
    if(options.groups) return options.groups;
    const uint32_t subgroup = features.subgroupMath ? features.subgroupSize : 1;
    uint32_t groups = std::max(std::min(subgroup * subgroup, 256u), 64u);
    const auto get_most = [&]() {
        return options.sort ? get_limit(features.maxGroupSizeX, groups) : get_limit(groups);
    };
    while(get_most() < options.size && groups * 2 <= features.maxGroupSizeX) groups *= 2;
    return groups;
}

// Threads of the scan that sorts the counts into their places: as many as the sort has, or what the size needs.
uint32_t get_scan_groups(const Options &options, const Device::Features &features, uint32_t groups) {
    uint32_t scan_groups = groups;
    while(get_limit(scan_groups, groups) < options.size && scan_groups * 2 <= features.maxGroupSizeX) scan_groups *= 2;
    return scan_groups;
}

// Fastest of some runs, each begun and ended on an idle device.
template<class Prepare, class Record>
bool measure(Device &device, double &time, const Prepare &prepare, const Record &record) {
    using Clock = std::chrono::steady_clock;
    time = 1e9;
    for(uint32_t i = 0; i < NumRuns; i++) {
        if(!prepare() || !device.finish()) return false;
        const Clock::time_point begin = Clock::now();
        bool done = false;
        {
            Compute compute = device.createCompute();
            done = compute && record(compute);
        }
        if(!done || !device.finish()) return false;
        time = std::min(time, std::chrono::duration<double>(Clock::now() - begin).count());
    }
    return true;
}

bool copy(Device &device, size_t bytes, Result &result) {
    static const char *const source = R"(
        layout(local_size_x = 256) in;
        layout(std140, binding = 0) uniform Parameters { uint size; };
        layout(std430, binding = 1) readonly buffer Source { uvec4 src[]; };
        layout(std430, binding = 2) writeonly buffer Dest { uvec4 dest[]; };
        void main() {
            uint id = gl_GlobalInvocationID.y * gl_NumWorkGroups.x * 256u + gl_GlobalInvocationID.x;
            if(id < size) dest[id] = src[id];
        })";
    const uint32_t size = uint32_t((bytes + 15) / 16);
    Kernel kernel = device.createKernel();
    kernel.setUniforms(1).setStorages(2).setStorageOffset(1);
    kernel.setStorageFlags(0, Kernel::BindFlagRead);
    if(!kernel.createShaderGLSL(source) || !kernel.create()) return false;
    Buffer src = device.createBuffer(Buffer::FlagStorage, size_t(size) * 16);
    Buffer dest = device.createBuffer(Buffer::FlagStorage, size_t(size) * 16);
    if(!src || !dest) return false;
    result.copy_bytes = double(size) * 32.0;
    return measure(
        device, result.copy_time, [&]() { return device.clearBuffer(src); },
        [&](Compute &compute) {
            const uint32_t groups = (size + 255) / 256;
            const uint32_t rows = (groups + 32767) / 32768;
            compute.setKernel(kernel);
            compute.setUniform(0, size);
            compute.setStorageBuffers(0, {src, dest});
            compute.dispatch((groups + rows - 1) / rows * 256, rows);
            return true;
        });
}

// What both algorithms have: a buffer that is filled again before each run, and the words that it holds behind the last.
struct Data {
    std::vector<uint32_t> words;
    Buffer buffer;

    bool create(Device &device) {
        buffer = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, words.size() * 4);
        return bool(buffer);
    }
    bool fill(Device &device) { return device.setBuffer(buffer, words.data(), words.size() * 4); }
    bool get(Device &device, std::vector<uint32_t> &results) {
        results.resize(words.size());
        return device.getBuffer(buffer, results.data(), results.size() * 4);
    }
};

// Exit code, or -1 to go on.
int run_scan(Device &device, const Options &options, Result &result) {
    std::mt19937 random(options.seed);
    Data data;
    data.words.resize(options.size);
    for(uint32_t &word : data.words) word = uint32_t(random());

    PrefixScan scan;
    const PrefixScan::Flags flags =
        options.indirect ? PrefixScan::FlagSingle | PrefixScan::FlagIndirect : PrefixScan::FlagSingle;
    if(!scan.create(device, flags, result.groups)) return fail(options, "can't create the scan");
    if(options.size > scan.getMaxElements()) return fail(options, "groups of that many threads can't scan so much");
    const uint32_t parameters[4] = {0, options.size, 0, 0};
    Buffer dispatch = device.createBuffer(Buffer::FlagStorage, parameters, sizeof(parameters));
    if(!dispatch || !data.create(device)) return fail(options, "no memory for the elements");
    const bool done = measure(
        device, result.time, [&]() { return data.fill(device); },
        [&](Compute &compute) {
            return options.indirect ? scan.dispatchIndirect(compute, data.buffer, dispatch, 0)
                                    : scan.dispatch(compute, data.buffer, 0, options.size);
        });
    if(!done) return fail(options, "can't run the scan");
    result.bytes = double(options.size) * ((options.size > scan.getScanElements()) ? 16.0 : 8.0);
    if(options.check) {
        std::vector<uint32_t> results;
        if(!data.get(device, results)) return fail(options, "can't get the results");
        uint32_t sum = 0;
        for(uint32_t i = 0; i < options.size; i++) {
            result.equal &= (results[i] == sum);
            sum += data.words[i];
        }
    }
    return copy(device, size_t(options.size) * 4, result) ? -1 : fail(options, "can't run the copy");
}

int run_sort(Device &device, const Options &options, Result &result) {
    std::mt19937 random(options.seed);
    const uint32_t aligned = (options.size + 3) & ~3u;
    const uint32_t mask = (options.bits == 32) ? ~0u : (1u << options.bits) - 1;
    Data data;
    data.words.resize(size_t(aligned) * 2);
    for(uint32_t i = 0; i < options.size; i++) data.words[i] = uint32_t(random()) & mask;
    for(uint32_t i = 0; i < options.size; i++) data.words[aligned + i] = uint32_t(random());

    PrefixScan scan;
    RadixSort sort;
    RadixSort::Flags flags = RadixSort::FlagSingle;
    if(options.indirect) flags = flags | RadixSort::FlagIndirect;
    if(options.order) flags = flags | RadixSort::FlagOrder;
    const uint32_t scan_groups = get_scan_groups(options, device.getFeatures(), result.groups);
    const PrefixScan::Flags scan_flags =
        options.indirect ? PrefixScan::FlagSingle | PrefixScan::FlagIndirect : PrefixScan::FlagSingle;
    if(!scan.create(device, scan_flags, scan_groups)) return fail(options, "can't create the scan");
    if(!sort.create(device, flags, scan, options.size, result.groups)) return fail(options, "can't create the sort");
    if(options.size > std::max(sort.getMaxElements(), sort.getSortElements()))
        return fail(options, "groups of that many threads can't sort so much");
    const uint32_t parameters[4] = {0, aligned, options.size, 0};
    Buffer dispatch = device.createBuffer(Buffer::FlagStorage, parameters, sizeof(parameters));
    if(!dispatch || !data.create(device)) return fail(options, "no memory for the elements");
    const RadixSort::Flags order = options.order ? RadixSort::FlagOrder : RadixSort::FlagNone;
    const bool done = measure(
        device, result.time, [&]() { return data.fill(device); },
        [&](Compute &compute) {
            return options.indirect
                       ? sort.dispatchIndirect(compute, data.buffer, dispatch, 0, order, options.bits)
                       : sort.dispatch(compute, data.buffer, 0, aligned, options.size, order, options.bits);
        });
    if(!done) return fail(options, "can't run the sort");
    const bool local = (options.size <= sort.getSortElements());
    result.bytes = double(options.size) * (local ? 16.0 : 36.0 * ((options.bits + 3) / 4));
    if(options.check) {
        std::vector<uint32_t> results, order_of(options.size);
        if(!data.get(device, results)) return fail(options, "can't get the results");
        std::iota(order_of.begin(), order_of.end(), 0);
        const uint32_t *keys = data.words.data();
        std::stable_sort(order_of.begin(), order_of.end(), [&](uint32_t a, uint32_t b) { return keys[a] < keys[b]; });
        for(uint32_t i = 0; i < options.size; i++) {
            result.equal &= (results[i] == keys[order_of[i]]);
            const uint32_t value = options.order ? order_of[i] : data.words[aligned + order_of[i]];
            result.equal &= (results[aligned + i] == value);
        }
    }
    return copy(device, data.words.size() * 4, result) ? -1 : fail(options, "can't run the copy");
}

int run(int argc, char **argv, bool sort) {
    Options options;
    options.command = sort ? "sort" : "scan";
    options.sort = sort;
    int code = parse(argc, argv, options);
    if(code >= 0) return code;

    Log::setCallback(hold_errors);
    Context context(PlatformVK, options.adapter);
    if(!context.create()) return fail(options, "can't open a Vulkan adapter");
    Device device(context);
    if(!device) return fail(options, "can't create a device");
    Result result;
    result.groups = get_groups(options, device.getFeatures());
    code = sort ? run_sort(device, options, result) : run_scan(device, options, result);
    if(code >= 0) return code;

    const double rate = options.size / result.time;
    const double fraction = (result.bytes / result.time) / (result.copy_bytes / result.copy_time);
    const char *unit = sort ? "pairs" : "elements";
    if(options.json) {
        printf("{\n  \"adapter\": \"%s\",\n  \"size\": %u,\n  \"groups\": %u,\n  \"milliseconds\": %.4f,\n"
               "  \"%s_per_second\": %.0f,\n  \"copy_bandwidth_fraction\": %.4f",
               device.getName().get(), options.size, result.groups, result.time * 1e3, unit, rate, fraction);
        if(sort) printf(",\n  \"bits\": %u", options.bits);
        if(options.check) printf(",\n  \"equal\": %s", result.equal ? "true" : "false");
        printf("\n}\n");
    } else {
        printf("%s: %u %s in %.3f ms with groups of %u threads: %.2f million %s per second, %.2f of copy bandwidth\n",
               device.getName().get(), options.size, unit, result.time * 1e3, result.groups, rate * 1e-6, unit,
               fraction);
        if(options.check) printf("%s\n", result.equal ? "equal to the processor's" : "DIFFERENT from the processor's");
    }
    if(!result.equal) return fail(options, "results differ from the processor's");
    return ExitDone;
}

} // namespace

int scanCommand(int argc, char **argv) { return run(argc, argv, false); }
int sortCommand(int argc, char **argv) { return run(argc, argv, true); }
