// ostrevan shader: GLSL to SPIR-V, or to preprocessed text, without a device.

#include "Commands.h"

#include <Ostrevan.h>

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Ostrevan;

static const struct {
    const char *name;
    const char *extension;
    Shader::Type type;
} stages[] = {
    {"vertex", "vert", Shader::TypeVertex},
    {"control", "tesc", Shader::TypeControl},
    {"evaluate", "tese", Shader::TypeEvaluate},
    {"geometry", "geom", Shader::TypeGeometry},
    {"fragment", "frag", Shader::TypeFragment},
    {"compute", "comp", Shader::TypeCompute},
    {"task", "task", Shader::TypeTask},
    {"mesh", "mesh", Shader::TypeMesh},
    {"raygen", "rgen", Shader::TypeRayGen},
    {"raymiss", "rmiss", Shader::TypeRayMiss},
    {"closest", "rchit", Shader::TypeClosest},
    {"firsthit", "rahit", Shader::TypeFirstHit},
    {"intersection", "rint", Shader::TypeIntersection},
    {"callable", "rcall", Shader::TypeCallable},
};

static void print_help() {
    printf("Usage: ostrevan shader IN [OPTION]...\n"
           "\n"
           "Compiles the GLSL file IN to a SPIR-V module. No device and no driver is needed.\n"
           "\n"
           "  -t STAGE          stage of the shader; without it the extension of IN tells\n"
           "  -D NAME[=VALUE]   define a macro; its value is 1 if none is given\n"
           "  -I DIR            look for #include files in DIR too, may be repeated\n"
           "  -E                only preprocess: write the text, to the terminal if there is no -o\n"
           "  -o OUT            file to write, \"-\" for the standard output; default: IN with the extension .spv\n"
           "\n"
           "Stages and their extensions; a last extension .glsl is passed over:\n");
    for(const auto &stage : stages) printf("  %-14s.%s\n", stage.name, stage.extension);
    printf("\n"
           "Examples:\n"
           "  ostrevan shader blur.comp                          writes blur.spv\n"
           "  ostrevan shader light.glsl -t fragment -D LIGHTS=4 -o light.spv\n"
           "  ostrevan shader blur.comp -E -I include            shows what the compiler reads\n"
           "\n"
           "Errors name file, line and cause, through includes. OUT is written only if all went well.\n"
           "The dialect is told in docs/shaders.md.\n");
}

/// Stage by the extension of a file name; a last extension "glsl" counts as none.
static Shader::Type find_stage(const char *name) {
    const char *base = strrchr(name, '/');
    base = base ? base + 1 : name;
    const char *end = base + strlen(base);
    for(uint32_t i = 0; i < 2; i++) {
        const char *dot = end;
        while(dot > base && *--dot != '.') {}
        if(dot == base) break;
        const size_t size = static_cast<size_t>(end - dot - 1);
        for(const auto &stage : stages) {
            if(strlen(stage.extension) == size && strncmp(stage.extension, dot + 1, size) == 0) return stage.type;
        }
        if(size != 4 || strncmp(dot + 1, "glsl", 4) != 0) break;
        end = dot;
    }
    return Shader::TypeUnknown;
}

/// Writes a file that is there whole or not at all: under a name of its own first. What is no plain file, such as
/// a pipe, is written to directly.
static bool write_file(const char *name, const void *data, size_t size) {
    if(strcmp(name, "-") == 0) {
        if(fwrite(data, 1, size, stdout) == size && fflush(stdout) == 0) return true;
        fprintf(stderr, "ostrevan shader: can't write to the standard output\n");
        return false;
    }
    struct stat info;
    const bool direct = (stat(name, &info) == 0 && !S_ISREG(info.st_mode));
    const size_t length = strlen(name) + 32;
    char *temp = static_cast<char *>(malloc(length));
    if(temp == nullptr) return false;
    snprintf(temp, length, direct ? "%s" : "%s.%u.tmp", name, static_cast<uint32_t>(getpid()));
    FILE *file = fopen(temp, "wb");
    bool ret = (file != nullptr);
    int error = errno;
    if(file) {
        ret = (fwrite(data, 1, size, file) == size);
        ret = (fclose(file) == 0) && ret;
        if(!direct) ret = ret && (rename(temp, name) == 0);
        error = errno;
        if(!direct && !ret) remove(temp);
    }
    if(!ret) fprintf(stderr, "ostrevan shader: can't write \"%s\" file: %s\n", name, strerror(error));
    free(temp);
    return ret;
}

/// NAME or NAME=VALUE as a macro of all shaders.
static bool set_macro(const char *text) {
    const char *value = strchr(text, '=');
    const size_t length = value ? static_cast<size_t>(value - text) : strlen(text);
    char *name = static_cast<char *>(malloc(length + 1));
    if(name == nullptr) return false;
    memcpy(name, text, length);
    name[length] = '\0';
    const bool ret = Shader::setMacro(name, value ? value + 1 : "1");
    free(name);
    return ret;
}

int shaderCommand(int argc, char **argv) {
    const char *in = nullptr, *out = nullptr;
    Shader::Type type = Shader::TypeUnknown;
    bool preprocess = false, options = true;
    for(int i = 1; i < argc; i++) {
        const char *arg = argv[i];
        if(!options || arg[0] != '-' || arg[1] == '\0') {
            if(in) return usageError("shader", "more than one input: \"%s\" and \"%s\"", in, arg);
            in = arg;
            continue;
        }
        if(strcmp(arg, "--help") == 0 || strcmp(arg, "-h") == 0) {
            print_help();
            return ExitDone;
        }
        if(strcmp(arg, "--") == 0) {
            options = false;
            continue;
        }
        if(strcmp(arg, "-E") == 0) {
            preprocess = true;
            continue;
        }
        // the others take a value, in the same word or in the next
        if(strchr("tDIo", arg[1]) == nullptr) return usageError("shader", "unknown option \"%s\"", arg);
        const char *value = arg[2] ? arg + 2 : (i + 1 < argc) ? argv[++i] : nullptr;
        if(value == nullptr || *value == '\0') return usageError("shader", "option -%c lacks its value", arg[1]);
        switch(arg[1]) {
        case 't':
            type = Shader::TypeUnknown;
            for(const auto &stage : stages) {
                if(strcmp(stage.name, value) == 0) type = stage.type;
            }
            if(type == Shader::TypeUnknown) return usageError("shader", "unknown stage \"%s\"", value);
            break;
        case 'D':
            if(!set_macro(value)) return usageError("shader", "invalid macro \"%s\"", value);
            break;
        case 'I': Shader::addIncludePath(value); break;
        case 'o': out = value; break;
        }
    }
    if(in == nullptr) return usageError("shader", "no input file");

    if(preprocess) {
        bool status = true;
        const String text = Shader::loadPreprocessor(in, String(), nullptr, 0, &status);
        if(!status) return ExitFailed;
        return write_file(out ? out : "-", text.get(), text.size()) ? ExitDone : ExitFailed;
    }

    if(type == Shader::TypeUnknown) type = find_stage(in);
    if(type == Shader::TypeUnknown) {
        return usageError("shader", "the extension of \"%s\" names no stage: give one with -t", in);
    }
    ShaderCompiler compiler;
    if(!compiler.loadGLSL(type, in)) return ExitFailed;
    const String name = out ? String(out) : String(in).extension("spv");
    const size_t size = sizeof(uint32_t) * compiler.getNumOpcodes();
    return write_file(name.get(), compiler.getOpcodes(), size) ? ExitDone : ExitFailed;
}
