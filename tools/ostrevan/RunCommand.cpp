// ostrevan run: a compute shader over a picture, from GLSL text to PNG.

#include "Commands.h"
#include "Output.h"

#include <Ostrevan.h>

#include <chrono>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

using namespace Ostrevan;

namespace {

constexpr uint32_t MaxSize = 8192;

struct Options {
    const char *shader = nullptr;
    const char *input = nullptr;
    const char *output = nullptr;
    std::string macros;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t adapter = ~0u;
    bool quiet = false;
};

// What the shader finds at binding 0.
struct Parameters {
    uint32_t width;
    uint32_t height;
    uint32_t frame;
    float time; // seconds
};

using Clock = std::chrono::steady_clock;
double milliseconds(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

void print_help() {
    printf(
        "Usage: ostrevan run SHADER.comp -o OUT.png [-i IN.png] [-s WxH] [-D NAME[=VALUE]]... [--adapter N] [-q]\n\n"
        "Compiles a compute shader with the library's own compiler, runs it on an adapter and saves the result.\n\n"
        "  -o OUT.png        picture to write; the extension names the format\n"
        "  -i IN.png         picture to read\n"
        "  -s WxH            size of the result, at most %ux%u; without it the input's, else 512x512\n"
        "  -D NAME[=VALUE]   defines a macro of the preprocessor\n"
        "  --adapter N       adapter by its number in \"ostrevan info\"; without it the first\n"
        "  -q                prints nothing when all goes well\n\n"
        "The shader sees\n\n"
        "  layout(std140, binding = 0) uniform Parameters { uint width; uint height; uint frame; float time; };\n"
        "  layout(std430, binding = 1) buffer Output { uint pixels[]; };\n"
        "  layout(std430, binding = 2) readonly buffer Input { uint input_pixels[]; };\n\n"
        "Pixels are rows from the top, R in the low byte, A in the high one; Input holds one zero pixel without -i.\n"
        "At least width x height threads run: the shader tests its own bounds.\n\n"
        "Example:\n"
        "  ostrevan run examples/shaders/fractal.comp -s 1920x1080 -D STEPS=400u -o fractal.png\n",
        MaxSize, MaxSize);
}

bool parse_number(const char *text, uint32_t &value) {
    if(*text < '0' || *text > '9') return false;
    char *end = nullptr;
    const unsigned long long number = strtoull(text, &end, 10);
    value = uint32_t(number);
    return *end == 0 && number < UINT32_MAX;
}

bool parse_size(const char *text, uint32_t &width, uint32_t &height) {
    const char *x = strchr(text, 'x');
    if(x == nullptr) return false;
    return parse_number(std::string(text, x).c_str(), width) && parse_number(x + 1, height) && width && height &&
           width <= MaxSize && height <= MaxSize;
}

// Exit code, or -1 to go on.
int parse(int argc, char **argv, Options &options) {
    for(int i = 1; i < argc; i++) {
        const char *name = argv[i];
        if(strcmp(name, "--help") == 0 || strcmp(name, "-h") == 0) {
            print_help();
            return ExitDone;
        }
        if(strcmp(name, "-q") == 0) {
            options.quiet = true;
            continue;
        }
        if(name[0] != '-') {
            if(options.shader) return usageError("run", "more than one shader: \"%s\"", name);
            options.shader = name;
            continue;
        }
        const bool macro = (strncmp(name, "-D", 2) == 0);
        const char *value = (macro && name[2]) ? name + 2 : (i + 1 < argc) ? argv[++i] : nullptr;
        if(value == nullptr) return usageError("run", "\"%s\" needs a value", name);
        if(macro) {
            for(const char *s = value; *s; s++) options.macros += (*s == ';') ? std::string("\\;") : std::string(1, *s);
            options.macros += ';';
        } else if(strcmp(name, "-o") == 0) {
            options.output = value;
        } else if(strcmp(name, "-i") == 0) {
            options.input = value;
        } else if(strcmp(name, "-s") == 0) {
            if(!parse_size(value, options.width, options.height))
                return usageError("run", "\"%s\" is no size from 1x1 to %ux%u", value, MaxSize, MaxSize);
        } else if(strcmp(name, "--adapter") == 0) {
            if(!parse_number(value, options.adapter)) return usageError("run", "\"%s\" is no adapter number", value);
        } else {
            return usageError("run", "unknown option \"%s\"", name);
        }
    }
    if(options.shader == nullptr) return usageError("run", "no shader");
    if(options.output == nullptr) return usageError("run", "no output: -o OUT.png");
    return -1;
}

// Plain RGBA; a picture of one or two components is grey, with alpha.
Image to_rgba(const Image &image) {
    const uint32_t components = image.getComponents();
    Image ret = (image.getFormat() == FormatRGBAu8n) ? image : image.toFormat(FormatRGBAu8n);
    if(!ret || components > 2) return ret;
    if(components == 2) ret.copy(ret, 3, 1);
    ret.copy(ret, 1, 0);
    ret.copy(ret, 2, 0);
    return ret;
}

// Errors of the library are held back: a failure prints one line that begins with what was tried and ends with the
// first cause. Warnings are for the user at once.
std::vector<std::string> errors;

bool hold_errors(Log::Level level, size_t, const char *text, void *) {
    if(level <= Log::Error)
        errors.push_back(text);
    else if(level == Log::Warning)
        fputs(text, stderr);
    return true;
}

int fail(const std::string &what) {
    std::string line = "ostrevan run: " + what;
    if(!errors.empty()) line += ": " + errors[0];
    while(line.back() == '\n') line.pop_back();
    for(size_t pos; (pos = line.find('\n')) != std::string::npos;) line.replace(pos, 1, ": ");
    fprintf(stderr, "%s\n", line.c_str());
    return ExitFailed;
}

// What the compiler and the preprocessor said of the shader, with file and line. The compiler's own first line says
// nothing that the shader's does not.
void print_errors() {
    for(const std::string &error : errors) {
        if(error.compare(0, 10, "Compiler::") != 0) fputs(error.c_str(), stderr);
    }
}

std::string quote(const char *name) { return std::string("\"") + name + "\""; }

} // namespace

int runCommand(int argc, char **argv) {
    Options options;
    const int code = parse(argc, argv, options);
    if(code >= 0) return code;

    Log::setCallback(hold_errors);
    Image input;
    if(options.input) {
        if(!input.load(options.input)) return fail("can't load " + quote(options.input));
        input = to_rgba(input);
        if(!input || !input.is2DType()) return fail("no picture of plain pixels in " + quote(options.input));
        if(input.getWidth() > MaxSize || input.getHeight() > MaxSize)
            return fail("too large a picture in " + quote(options.input));
    }
    if(options.width == 0) {
        options.width = input ? input.getWidth() : 512;
        options.height = input ? input.getHeight() : 512;
    }

    Context context(PlatformVK, options.adapter);
    if(!context.create()) return fail("can't open a Vulkan adapter");
    Device device(context);
    if(!device) return fail("can't create a device");

    // The binding of a slot is its index behind the offset of its kind.
    Kernel kernel = device.createKernel();
    kernel.setUniforms(1).setStorages(2).setStorageOffset(1);
    const Clock::time_point compile_time = Clock::now();
    const bool compiled = kernel.loadShaderGLSL(options.shader, String(options.macros.c_str()));
    if(!compiled && errors.empty()) return fail("can't compile " + quote(options.shader));
    print_errors();
    if(!compiled) return ExitFailed;
    errors.clear();
    const double compile = milliseconds(compile_time);
    const Clock::time_point create_time = Clock::now();
    if(!kernel.create()) return fail("can't create a kernel of " + quote(options.shader));
    const double create = milliseconds(create_time);

    const Parameters parameters = {options.width, options.height, 0, 0.0f};
    const size_t size = size_t(options.width) * options.height * 4;
    const uint32_t zero = 0;
    Buffer pixels = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, size);
    Buffer input_pixels = input ? device.createBuffer(Buffer::FlagStorage, input.getData(), input.getDataSize())
                                : device.createBuffer(Buffer::FlagStorage, &zero, sizeof(zero));
    Image image;
    if(!pixels || !input_pixels || !device.clearBuffer(pixels) ||
       !image.create2D(FormatRGBAu8n, options.width, options.height))
        return fail("no memory for the picture " + quote(options.output));

    const Clock::time_point run_time = Clock::now();
    {
        Compute compute = device.createCompute();
        compute.setKernel(kernel);
        compute.setUniform(0, parameters);
        compute.setStorageBuffers(0, {pixels, input_pixels});
        compute.dispatch(options.width, options.height);
        compute.barrier(pixels);
    }
    if(!device.getBuffer(pixels, image.getData(), size)) return fail("can't run " + quote(options.shader));
    const double run = milliseconds(run_time);

    Blob blob(options.output);
    if(!image.save(blob)) return fail("can't encode " + quote(options.output));
    if(!writeOutput("run", options.output, blob.getData(), blob.getSize())) return ExitFailed;
    if(!options.quiet)
        printf("%s: compiled in %.2f ms (driver %.1f ms), ran in %.1f ms, %ux%u -> %s\n", device.getName().get(),
               compile, create, run, options.width, options.height, options.output);
    return ExitDone;
}
