// ostrevan shader: GLSL to SPIR-V, or to preprocessed text, without a device.

#include "Commands.h"
#include "Output.h"
#include "ShaderJob.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <set>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Ostrevan;

static void print_help() {
    printf(
        "Usage: ostrevan shader IN... [OPTION]...\n"
        "\n"
        "Compiles the GLSL files IN to SPIR-V modules. No device and no driver is needed.\n"
        "\n"
        "  -t STAGE          stage of the shaders; without it the extension of IN tells\n"
        "  -D NAME[=VALUE]   define a macro; its value is 1 if none is given\n"
        "  -I DIR            look for #include files in DIR too, may be repeated\n"
        "  -E                only preprocess one file: write the text, to the terminal if there is no -o\n"
        "  -o OUT            file to write, \"-\" for the standard output; a folder that is there, or a name that\n"
        "                    ends in /, for any number of files\n"
        "  -j N              compile N files at once; without it as many as there are cores\n"
        "  --depfile FILE    write a makefile rule for each output, with all files that it was made of\n"
        "  --json            tell stage, work-group, capabilities, locations, bindings and diagnostics as JSON on\n"
        "                    the standard output\n"
        "  --cache DIR       keep compiled words in a folder, and take them from there\n"
        "\n"
        "Without -o one IN is written to IN with the extension .spv in place of its own; of several, each is written\n"
        "to IN with .spv behind it.\n"
        "\n"
        "Stages and their extensions; a last extension .glsl is passed over:\n");
    for(const ShaderStage &stage : shader_stages) printf("  %-14s.%s\n", stage.name, stage.extension);
    printf("\n"
           "Examples:\n"
           "  ostrevan shader blur.comp                          writes blur.spv\n"
           "  ostrevan shader light.glsl -t fragment -D LIGHTS=4 -o light.spv\n"
           "  ostrevan shader blur.comp -E -I include            shows what the compiler reads\n"
           "  ostrevan shader *.vert *.frag -o build/ --depfile build/shaders.d\n"
           "  ostrevan shader scene.frag --json | python3 -m json.tool\n"
           "\n"
           "Errors name file, line and cause, through includes. An output is written only when it is whole; a shader\n"
           "that fails does not keep the others from being compiled. The dialect is told in docs/shaders.md.\n");
}

namespace {

struct Options {
    std::vector<const char *> inputs;
    std::string output;
    const char *depfile = nullptr, *cache = nullptr;
    const ShaderStage *stage = nullptr;
    uint32_t num_workers = 0;
    bool preprocess = false, json = false;
};

// NAME or NAME=VALUE as a macro of all shaders.
bool set_macro(const char *text) {
    const char *value = strchr(text, '=');
    const std::string name = value ? std::string(text, value) : std::string(text);
    return Shader::setMacro(name.c_str(), value ? value + 1 : "1");
}

// Sets the options, or gives the exit code to end with.
int read_options(int argc, char **argv, Options &options) {
    bool words = true;
    for(int i = 1; i < argc; i++) {
        const char *arg = argv[i];
        if(!words || arg[0] != '-' || arg[1] == '\0') {
            options.inputs.push_back(arg);
            continue;
        }
        if(strcmp(arg, "--") == 0) {
            words = false;
        } else if(strcmp(arg, "-E") == 0) {
            options.preprocess = true;
        } else if(strcmp(arg, "--json") == 0) {
            options.json = true;
        } else if(strcmp(arg, "--depfile") == 0 || strcmp(arg, "--cache") == 0) {
            if(i + 1 >= argc || argv[i + 1][0] == '\0') return usageError("shader", "option %s lacks its value", arg);
            (arg[2] == 'd' ? options.depfile : options.cache) = argv[++i];
        } else {
            // the others take a value, in the same word or in the next
            if(strchr("tDIoj", arg[1]) == nullptr) return usageError("shader", "unknown option \"%s\"", arg);
            const char *value = arg[2] ? arg + 2 : (i + 1 < argc) ? argv[++i] : nullptr;
            if(value == nullptr || *value == '\0') return usageError("shader", "option -%c lacks its value", arg[1]);
            switch(arg[1]) {
            case 't':
                options.stage = findStage(value);
                if(options.stage == nullptr) return usageError("shader", "unknown stage \"%s\"", value);
                break;
            case 'D':
                if(!set_macro(value)) return usageError("shader", "invalid macro \"%s\"", value);
                break;
            case 'I': Shader::addIncludePath(value); break;
            case 'o': options.output = value; break;
            case 'j': {
                char *end = nullptr;
                const unsigned long num = strtoul(value, &end, 10);
                if(*end || num < 1 || num > 64) return usageError("shader", "-j takes a number from 1 to 64");
                options.num_workers = static_cast<uint32_t>(num);
                break;
            }
            }
        }
    }
    if(options.inputs.empty()) return usageError("shader", "no input file");
    return ExitDone;
}

int preprocess(const Options &options) {
    if(options.inputs.size() > 1) return usageError("shader", "-E takes one input");
    if(options.json || options.depfile || options.cache)
        return usageError("shader", "-E goes with none of --json, --depfile and --cache");
    bool status = true;
    const String text = Shader::loadPreprocessor(options.inputs[0], String(), nullptr, 0, &status);
    if(!status) return ExitFailed;
    const char *name = options.output.empty() ? "-" : options.output.c_str();
    return writeOutput("shader", name, text.get(), text.size()) ? ExitDone : ExitFailed;
}

bool is_folder(const std::string &name) {
    struct stat info;
    return name.back() == '/' || (stat(name.c_str(), &info) == 0 && S_ISDIR(info.st_mode));
}

// What is compiled to where. The exit code to end with if that is not clear.
int create_jobs(Options &options, std::vector<ShaderJob> &jobs) {
    const bool many = options.inputs.size() > 1;
    const bool folder = !options.output.empty() && is_folder(options.output);
    if(many && !options.output.empty() && !folder)
        return usageError(
            "shader", "several inputs need a folder as the output, and \"%s\" is none; with a / behind it, it is made",
            options.output.c_str());
    if(options.json && options.output == "-")
        return usageError("shader", "--json and -o - both write to the standard output");
    if(folder && options.output.back() != '/') options.output += '/';
    std::set<std::string> outputs;
    for(const char *input : options.inputs) {
        ShaderJob job;
        job.input = input;
        job.stage = options.stage ? options.stage : findFileStage(input);
        if(job.stage == nullptr)
            return usageError("shader", "the extension of \"%s\" names no stage: give one with -t", input);
        job.output = many ? std::string(input) + ".spv" : std::string(String(input).extension("spv").get());
        if(folder)
            job.output = options.output + job.output.substr(job.output.rfind('/') + 1);
        else if(!options.output.empty())
            job.output = options.output;
        if(!outputs.insert(job.output).second)
            return usageError("shader", "two inputs would be written to \"%s\"", job.output.c_str());
        jobs.push_back(job);
    }
    if(folder && mkdir(options.output.c_str(), 0777) &&
       !is_folder(options.output.substr(0, options.output.size() - 1))) {
        fprintf(stderr, "ostrevan shader: can't make folder \"%s\"\n", options.output.c_str());
        return ExitFailed;
    }
    return ExitDone;
}

// Runs all jobs. Messages appear job by job in the order of the command line, whichever thread is faster.
void run_jobs(std::vector<ShaderJob> &jobs, uint32_t num_workers, bool json) {
    const bool progress = jobs.size() > 1 && isatty(2);
    std::mutex mutex;
    std::vector<bool> finished(jobs.size());
    size_t num_finished = 0, num_printed = 0;
    std::atomic<size_t> next{0};
    const auto work = [&] {
        for(size_t i; (i = next++) < jobs.size();) {
            jobs[i].run(json);
            std::lock_guard<std::mutex> guard(mutex);
            finished[i] = true;
            num_finished++;
            if(progress) fputs("\r\033[K", stderr);
            for(; num_printed < jobs.size() && finished[num_printed]; num_printed++) {
                if(!json) jobs[num_printed].print();
            }
            if(progress && num_finished < jobs.size())
                fprintf(stderr, "[%zu/%zu] %s", num_finished, jobs.size(), jobs[i].input);
        }
    };
    // A task takes the next shader when it is done with one: shaders take very different times.
    Async async;
    std::vector<Async::Task> tasks;
    if(num_workers > 1 && async.init(num_workers)) {
        for(uint32_t i = 0; i < num_workers; i++) tasks.push_back(async.run(work));
    }
    if(tasks.empty() || !async.wait(tasks.data(), static_cast<uint32_t>(tasks.size()))) work();
}

// Name of a file in a makefile.
std::string get_make_name(const std::string &name) {
    std::string ret;
    for(const char c : name) {
        if(c == ' ' || c == '#' || c == '\\') ret += '\\';
        if(c == '$') ret += '$';
        ret += c;
    }
    return ret;
}

bool write_depfile(const char *name, const std::vector<ShaderJob> &jobs) {
    std::string text;
    for(const ShaderJob &job : jobs) {
        text += get_make_name(job.output) + ":";
        for(const std::string &source : job.sources) text += " \\\n  " + get_make_name(source);
        text += "\n";
    }
    return writeOutput("shader", name, text.data(), text.size());
}

} // namespace

int shaderCommand(int argc, char **argv) {
    for(int i = 1; i < argc && strcmp(argv[i], "--"); i++) {
        if(strcmp(argv[i], "--help") && strcmp(argv[i], "-h")) continue;
        print_help();
        return ExitDone;
    }
    Options options;
    if(const int code = read_options(argc, argv, options)) return code;
    if(options.preprocess) return preprocess(options);
    std::vector<ShaderJob> jobs;
    if(const int code = create_jobs(options, jobs)) return code;
    if(options.cache && !Shader::setSourceCache(options.cache)) return ExitFailed;

    Log::setCallback(ShaderJob::append, nullptr);
    ShaderCompiler keep; // the compilers of the threads stay while there is a shader
    keep.clear();
    uint32_t num_workers = options.num_workers ? options.num_workers : Async::getNumCores();
    num_workers = std::max(1u, std::min(num_workers, static_cast<uint32_t>(jobs.size())));
    run_jobs(jobs, num_workers, options.json);

    size_t num_done = 0;
    for(const ShaderJob &job : jobs) num_done += job.done;
    if(options.json) {
        std::string json = "{\"files\":[";
        for(size_t i = 0; i < jobs.size(); i++) json += (i ? ",\n" : "\n") + jobs[i].getJson();
        json += "\n],\"done\":" + std::to_string(num_done) + ",\"failed\":" + std::to_string(jobs.size() - num_done);
        if(options.cache) {
            json += ",\"cache\":{\"hits\":" + std::to_string(Shader::getNumSourceHits()) +
                    ",\"misses\":" + std::to_string(Shader::getNumSourceMisses()) + "}";
        }
        json += "}\n";
        if(!writeOutput("shader", "-", json.data(), json.size())) return ExitFailed;
    }
    if(num_done < jobs.size()) {
        if(jobs.size() > 1 && !options.json)
            fprintf(stderr, "ostrevan shader: %zu of %zu shaders failed\n", jobs.size() - num_done, jobs.size());
        return ExitFailed;
    }
    return (options.depfile == nullptr || write_depfile(options.depfile, jobs)) ? ExitDone : ExitFailed;
}
