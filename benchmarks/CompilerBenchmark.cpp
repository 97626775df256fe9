// Compile time beside the reference compiler, in one process and one run: own words for each shader of the corpus
// against theirs without optimiser, from the text as it stands in the file. Times are medians of 20 warm compiles. Cold
// starts compare the two programs as a build calls them; memory is that of a process of its own for each text.

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "../tests/support/ReferenceCompiler.h"
#include "KolmCompiler.h"
#include "KolmLog.h"
#include "KolmShader.h"
#include "KolmShaderCompiler.h"

using Kolm::Compiler;
using Kolm::Shader;

namespace {

struct Text {
    std::string name;
    Shader::Type type;
    std::string src;
};

const struct {
    const char *extension;
    Shader::Type type;
} extensions[] = {
    {".vert", Shader::TypeVertex},       {".tesc", Shader::TypeControl},   {".tese", Shader::TypeEvaluate},
    {".geom", Shader::TypeGeometry},     {".frag", Shader::TypeFragment},  {".comp", Shader::TypeCompute},
    {".task", Shader::TypeTask},         {".mesh", Shader::TypeMesh},      {".rgen", Shader::TypeRayGen},
    {".rmiss", Shader::TypeRayMiss},     {".rchit", Shader::TypeClosest},  {".rahit", Shader::TypeFirstHit},
    {".rint", Shader::TypeIntersection}, {".rcall", Shader::TypeCallable},
};

// From the text of a file to words.
bool compile_text(Compiler &compiler, const Text &text) {
    static const Kolm::String macros("KOLM_GLSL=1");
    const Kolm::String src = Shader::preprocessor(text.src.c_str(), macros);
    uint32_t offset = 0;
    return compiler.compileGLSL(text.type, src.get(), nullptr, offset);
}

// Shaders of the tests that both compilers take as they stand, ordered by name.
const std::vector<Text> &get_corpus() {
    static std::vector<Text> corpus;
    if(!corpus.empty()) return corpus;
    Kolm::Log::setLevel(Kolm::Log::Fatal);
    Compiler compiler;
    for(const auto &entry : std::filesystem::recursive_directory_iterator(OSTREVAN_TEST_DATA)) {
        for(const auto &row : extensions) {
            if(entry.path().extension() != row.extension) continue;
            std::ifstream file(entry.path());
            Text text;
            text.name = entry.path().filename().string();
            text.type = row.type;
            text.src = std::string(std::istreambuf_iterator<char>(file), {});
            if(compile_text(compiler, text)) corpus.push_back(text);
        }
    }
    std::sort(corpus.begin(), corpus.end(), [](const Text &a, const Text &b) { return a.name < b.name; });
    return corpus;
}

double get_seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template<class Function> double get_median(uint32_t count, Function &&function) {
    std::vector<double> times;
    for(uint32_t i = 0; i < count; i++) {
        const double start = get_seconds();
        function();
        times.push_back(get_seconds() - start);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// A compute shader of about \p size bytes: many functions of arithmetic, all of them called.
std::string get_large_text(size_t size) {
    std::string src =
        "#version 450\nlayout(local_size_x = 64) in;\nlayout(binding = 0) buffer Data { vec4 data[]; } data;\n";
    uint32_t count = 0;
    while(src.size() < size) {
        const std::string n = std::to_string(count++);
        src += "vec4 function_" + n + "(vec4 a, float b) {\n    vec4 c = a * " + n +
               ".5 + vec4(b);\n"
               "    for(int i = 0; i < 4; i++) {\n        if(c.x > float(i)) c += a.wzyx * 0.25;\n"
               "        else c -= vec4(1.0, b, c.xy);\n    }\n    return normalize(c) + sin(c);\n}\n";
    }
    src += "void main() {\n    uint i = gl_GlobalInvocationID.x;\n    vec4 v = data.data[i];\n";
    for(uint32_t i = 0; i < count; i++) src += "    v += function_" + std::to_string(i) + "(v, v.x);\n";
    return src + "    data.data[i] = v;\n}\n";
}

double get_own_time(Compiler &compiler, const Text &text, uint32_t count) {
    return get_median(count, [&] { benchmark::DoNotOptimize(compile_text(compiler, text)); });
}

} // namespace

static void compile_corpus(benchmark::State &state) {
    Compiler compiler;
    for(auto _ : state) {
        for(const Text &text : get_corpus()) benchmark::DoNotOptimize(compile_text(compiler, text));
    }
    state.counters["shaders"] = double(get_corpus().size());
}
BENCHMARK(compile_corpus)->Unit(benchmark::kMillisecond);

// Work that shares nothing, as the measure of what the machine has to give to two threads.
static void calculate(size_t first, size_t step) {
    double value = 0.0;
    for(size_t i = first; i < 6000000; i += step) benchmark::DoNotOptimize(value = value * 0.5 + double(i));
}

template<class Function> static double get_thread_time(size_t num_threads, Function &&work) {
    const double start = get_seconds();
    if(num_threads == 1) {
        work(0, 1);
    } else {
        std::thread thread(work, 0, 2);
        work(1, 2);
        thread.join();
    }
    return get_seconds() - start;
}

// Time of work(0, 1) against that of work(0, 2) and work(1, 2) on two threads, beside what the machine makes of work that
// shares nothing. The machine may have other things to do, so the best of each counts.
template<class Function> static void compare_threads(benchmark::State &state, Function &&work) {
    double times[4] = {1e9, 1e9, 1e9, 1e9};
    for(auto _ : state) {
        for(size_t i = 0; i < 2; i++) {
            times[i] = std::min(times[i], get_thread_time(i + 1, work));
            times[i + 2] = std::min(times[i + 2], get_thread_time(i + 1, calculate));
        }
    }
    state.counters["ratio"] = times[1] / times[0];
    state.counters["machine_ratio"] = times[3] / times[2];
}

static void compile_on_two_threads(benchmark::State &state) {
    const std::vector<Text> &corpus = get_corpus();
    compare_threads(state, [&](size_t first, size_t step) {
        Compiler compiler;
        for(uint32_t pass = 0; pass < 8; pass++) {
            for(size_t i = first; i < corpus.size(); i += step) compile_text(compiler, corpus[i]);
        }
    });
}
BENCHMARK(compile_on_two_threads)->Unit(benchmark::kMillisecond)->Iterations(20);

// The same through the preprocessor, where each shader reads four files that all of them share.
static void include_on_two_threads(benchmark::State &state) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "ostrevan_bench_include";
    std::filesystem::create_directories(folder);
    std::string src = "layout(local_size_x = 64) in;\nlayout(binding = 0) buffer Data { vec4 data[]; };\n";
    std::string body = "void main() {\n    vec4 v = data[0];\n";
    for(uint32_t i = 0; i < 4; i++) {
        const std::string n = std::to_string(i);
        const std::string name = (folder / (n + ".h")).string();
        std::ofstream file(name);
        for(uint32_t k = 0; k < 8; k++) {
            file << "// adds what the light " << k << " gives\nvec4 light_" << n << "_" << k
                 << "(vec4 a, float b) {\n    return normalize(a) * max(b, 0.0) + a.wzyx * " << k << ".5;\n}\n";
            body += "    v += light_" + n + "_" + std::to_string(k) + "(v, v.x);\n";
        }
        src += "#include \"" + name + "\"\n";
    }
    src += body + "    data[0] = v;\n}\n";
    Kolm::ShaderCompiler keeps_compilers;
    compare_threads(state, [&](size_t first, size_t step) {
        for(size_t i = first; i < 400; i += step) {
            Kolm::ShaderCompiler shader;
            if(!shader.createGLSL(Shader::TypeCompute, src.c_str())) abort();
        }
    });
    std::filesystem::remove_all(folder);
}
BENCHMARK(include_on_two_threads)->Unit(benchmark::kMillisecond)->Iterations(20);

// Cost of a text twice as long.
static void compile_large(benchmark::State &state) {
    Compiler compiler;
    const Text text = {"large", Shader::TypeCompute, get_large_text(size_t(state.range(0)))};
    for(auto _ : state) {
        if(!compile_text(compiler, text)) state.SkipWithError("can't compile");
    }
    state.counters["bytes"] = double(text.src.size());
}
BENCHMARK(compile_large)->RangeMultiplier(2)->Range(32 << 10, 256 << 10)->Unit(benchmark::kMillisecond);

#ifdef OSTREVAN_GLSLANG

static void compare_corpus(benchmark::State &state) {
    ReferenceCompiler reference;
    Compiler compiler;
    double own_total = 0.0, reference_total = 0.0, worst = 0.0, worst_size = 0.0;
    size_t own_words = 0, reference_words = 0, count = 0;
    std::string worst_name;
    for(auto _ : state) {
        own_total = reference_total = worst = worst_size = 0.0;
        own_words = reference_words = count = 0;
        for(const Text &text : get_corpus()) {
            const size_t words = reference.compile(text.type, text.src.c_str()).size();
            if(words == 0) continue;
            const double own = get_own_time(compiler, text, 20);
            const double other = get_median(
                20, [&] { benchmark::DoNotOptimize(reference.compile(text.type, text.src.c_str()).size()); });
            own_total += own;
            reference_total += other;
            own_words += compiler.getOpcodes().size();
            reference_words += words;
            count++;
            worst_size = std::max(worst_size, double(compiler.getOpcodes().size()) / double(words));
            if(own / other > worst) {
                worst = own / other;
                worst_name = text.name;
            }
        }
    }
    state.counters["shaders"] = double(count);
    state.counters["own_us"] = own_total * 1e6 / double(count);
    state.counters["reference_us"] = reference_total * 1e6 / double(count);
    state.counters["ratio"] = own_total / reference_total;
    state.counters["worst_ratio"] = worst;
    state.counters["size_ratio"] = double(own_words) / double(reference_words);
    state.counters["worst_size_ratio"] = worst_size;
    state.SetLabel(worst_name);
}
BENCHMARK(compare_corpus)->Unit(benchmark::kMillisecond)->Iterations(1);

static void compare_large(benchmark::State &state) {
    ReferenceCompiler reference;
    Compiler compiler;
    const Text text = {"large", Shader::TypeCompute, get_large_text(size_t(state.range(0)))};
    double own = 0.0, other = 0.0;
    for(auto _ : state) {
        own = get_own_time(compiler, text, 5);
        other = get_median(5, [&] { benchmark::DoNotOptimize(reference.compile(text.type, text.src.c_str()).size()); });
    }
    state.counters["own_ms"] = own * 1e3;
    state.counters["reference_ms"] = other * 1e3;
    state.counters["ratio"] = own / other;
}
BENCHMARK(compare_large)->Arg(32 << 10)->Arg(128 << 10)->Unit(benchmark::kMillisecond)->Iterations(1);

// -- Memory -----------------------------------------------------------------------------------------------------------

// A line of /proc/self/status in KiB.
static size_t get_status(const char *key) {
    std::ifstream file("/proc/self/status");
    for(std::string line; std::getline(file, line);) {
        if(line.compare(0, strlen(key), key) == 0) return std::stoul(line.substr(strlen(key)));
    }
    return 0;
}

// KiB that the work needs at its height, in a process of its own.
template<class Function> static size_t get_peak(Function &&work) {
    int ends[2];
    if(pipe(ends)) return 0;
    const pid_t child = fork();
    if(child == 0) {
        FILE *file = fopen("/proc/self/clear_refs", "w"); // the height begins anew
        if(file) {
            fputs("5", file);
            fclose(file);
        }
        const size_t before = get_status("VmRSS:");
        work();
        const size_t size = get_status("VmHWM:") - before;
        _exit(write(ends[1], &size, sizeof(size)) != sizeof(size));
    }
    size_t size = 0;
    if(read(ends[0], &size, sizeof(size)) != sizeof(size)) size = 0;
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    return size;
}

// The corpus (0), or a text of some bytes, by a compiler that has done nothing before.
static void compare_memory(benchmark::State &state) {
    std::vector<Text> texts;
    if(state.range(0))
        texts.push_back({"large", Shader::TypeCompute, get_large_text(size_t(state.range(0)))});
    else
        texts = get_corpus();
    size_t own = 0, other = 0;
    for(auto _ : state) {
        own = get_peak([&] {
            Compiler compiler;
            for(const Text &text : texts) compile_text(compiler, text);
        });
        other = get_peak([&] {
            ReferenceCompiler reference;
            for(const Text &text : texts) reference.compile(text.type, text.src.c_str());
        });
    }
    state.counters["own_KiB"] = double(own);
    state.counters["reference_KiB"] = double(other);
    state.counters["ratio"] = double(own) / double(other);
}
BENCHMARK(compare_memory)->Arg(0)->Arg(32 << 10)->Arg(256 << 10)->Unit(benchmark::kMillisecond)->Iterations(1);

#endif

// -- Cold starts ------------------------------------------------------------------------------------------------------

// Seconds that a program takes from its start to its end; 0 if it fails.
static double run_program(const std::vector<std::string> &words) {
    std::vector<char *> args;
    for(const std::string &word : words) args.push_back(const_cast<char *>(word.c_str()));
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = 1;
    const double start = get_seconds();
    if(posix_spawnp(&child, args[0], &actions, nullptr, args.data(), environ) == 0) waitpid(child, &status, 0);
    const double time = get_seconds() - start;
    posix_spawn_file_actions_destroy(&actions);
    return (status == 0) ? time : 0.0;
}

// From the start of a process to a written module, by turns; a program that does nothing is what the system takes for
// itself.
static void compare_cold_start(benchmark::State &state) {
    const std::string folder = std::string(OSTREVAN_TEST_DATA) + "/shader/corpus/";
    const std::string out = (std::filesystem::temp_directory_path() / "ostrevan_bench.spv").string();
    const std::string src = folder + (state.range(0) ? "pbr.frag" : "triangle.vert");
    std::vector<double> own, other, nothing;
    for(auto _ : state) {
        own.push_back(run_program({OSTREVAN_PROGRAM, "shader", src, "-o", out}));
        other.push_back(run_program({"glslangValidator", "-V", src, "-o", out}));
        nothing.push_back(run_program({"true"}));
    }
    std::filesystem::remove(out);
    const auto get_best = [](std::vector<double> &times) {
        std::sort(times.begin(), times.end());
        return times[times.size() / 4]; // of a machine that does other things too
    };
    const double times[3] = {get_best(own), get_best(other), get_best(nothing)};
    if(times[0] == 0.0 || times[1] == 0.0) return state.SkipWithError("a program is missing");
    state.counters["own_us"] = times[0] * 1e6;
    state.counters["reference_us"] = times[1] * 1e6;
    state.counters["empty_us"] = times[2] * 1e6;
    state.counters["ratio"] = times[0] / times[1];
    state.counters["ratio_above_empty"] = (times[0] - times[2]) / (times[1] - times[2]);
}
BENCHMARK(compare_cold_start)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(100);
