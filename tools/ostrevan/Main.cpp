// The program `ostrevan`: the library's capabilities for shell users and scripts.

#include "Commands.h"

#include <Ostrevan.h>

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

using namespace Ostrevan;

static const struct {
    const char *name;
    CommandFunction run;
    const char *text;
} commands[] = {
    {"info", infoCommand, "version, adapters, their features and limits"},
    {"shader", shaderCommand, "compile GLSL to SPIR-V, or only preprocess it"},
    {"run", runCommand, "run a compute shader over a picture and save the result"},
    {"image", imageCommand, "tell, convert, resize and compare pictures"},
    {"json", jsonCommand, "check, reformat and query a JSON document"},
    {"scan", scanCommand, "prefix sums on the GPU: check and time"},
    {"sort", sortCommand, "sort keys and values on the GPU: check and time"},
};

int usageError(const char *command, const char *format, ...) {
    va_list args;
    va_start(args, format);
    fprintf(stderr, "ostrevan %s: ", command);
    vfprintf(stderr, format, args);
    fprintf(stderr, "\nTry: ostrevan %s --help\n", command);
    va_end(args);
    return ExitUsage;
}

static void print_help() {
    printf("Usage: ostrevan COMMAND [ARGUMENT]...\n\nCommands:\n");
    for(const auto &command : commands) printf("  %-8s %s\n", command.name, command.text);
    printf("\nostrevan COMMAND --help tells more about one of them. --version prints the build record.\n"
           "Exit codes: 0 done, 1 the input or the machine failed, 2 wrong usage.\n");
}

// Failures go to stderr as plain lines, without time stamps: they are this program's own output.
static bool print_log(Log::Level level, size_t, const char *text, void *) {
    if(level <= Log::Warning) fputs(text, stderr);
    return true;
}

int main(int argc, char **argv) {
    Log::setCallback(print_log, nullptr);
    const char *name = (argc > 1) ? argv[1] : "--help";
    if(strcmp(name, "--help") == 0 || strcmp(name, "-h") == 0 || strcmp(name, "help") == 0) {
        print_help();
        return (argc > 1) ? ExitDone : ExitUsage;
    }
    if(strcmp(name, "--version") == 0) {
        printf("ostrevan %u, built %s\n%s\n", App::getVersion(), App::getBuildDate().get(), App::getBuildInfo().get());
        return ExitDone;
    }
    for(const auto &command : commands) {
        if(strcmp(name, command.name) == 0) return command.run(argc - 1, argv + 1);
    }
    fprintf(stderr, "ostrevan: unknown command \"%s\"\nTry: ostrevan --help\n", name);
    return ExitUsage;
}
