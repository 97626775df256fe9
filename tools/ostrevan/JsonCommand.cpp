// ostrevan json: reads, checks, reformats and queries a document.

#include "Commands.h"
#include "Output.h"

#include <Ostrevan.h>

#include <stdio.h>
#include <string.h>
#include <string>
#include <unistd.h>

using namespace Ostrevan;

namespace {

void print_help() {
    printf("Usage: ostrevan json FILE [OPTION]...\n"
           "\n"
           "Reads the JSON document FILE, \"-\" for the standard input, checks it and prints it with line breaks and "
           "tabs.\n"
           "\n"
           "  --compact     leave all white space out\n"
           "  --get PATH    print only the element at PATH: names with '/' between them, a number for an element of\n"
           "                an array, counted from 0\n"
           "  --raw         print the text of an element that is a string without quotes and escapes\n"
           "  -o OUT        write to the file OUT, which may be FILE; without it to the standard output\n"
           "\n"
           "Examples:\n"
           "  ostrevan json scene.json -o /dev/null              only checks\n"
           "  ostrevan json scene.json --compact -o scene.json   makes it small\n"
           "  ostrevan json scene.json --get /nodes/0/name       prints \"camera\"\n"
           "  ostrevan info --json | ostrevan json - --get /adapters/0/name --raw\n"
           "\n"
           "A fault is told as FILE:LINE: with the text from the place of the fault to the end of its line.\n"
           "Exit codes: 0 done, 1 no JSON, no such element or no such file, 2 wrong usage.\n");
}

// Errors of the library are held back: a failure prints one line, that of the first cause.
std::string first_error;

bool hold_errors(Log::Level level, size_t, const char *text, void *) {
    if(level <= Log::Error && first_error.empty()) first_error = text;
    return true;
}

// One line of what the library said in several: "Json::create(): MESSAGE\nLINE: REST\n", or of any other cause.
int fail(const char *name) {
    static const char prefix[] = "Json::create(): ";
    std::string text = first_error;
    while(!text.empty() && text.back() == '\n') text.pop_back();
    const size_t line = text.rfind('\n');
    const size_t colon = (line != std::string::npos) ? text.find(": ", line) : line;
    if(text.compare(0, sizeof(prefix) - 1, prefix) == 0 && colon != std::string::npos) {
        const std::string message = text.substr(sizeof(prefix) - 1, text.find('\n') - (sizeof(prefix) - 1));
        const std::string number = text.substr(line + 1, colon - line - 1), rest = text.substr(colon + 2);
        fprintf(stderr, "ostrevan json: %s:%s: %s", name, number.c_str(), message.c_str());
        if(!rest.empty()) fprintf(stderr, " at \"%s\"", rest.c_str());
        fputc('\n', stderr);
    } else {
        for(size_t pos; (pos = text.find('\n')) != std::string::npos;) text.replace(pos, 1, ": ");
        fprintf(stderr, "ostrevan json: %s: %s\n", name, text.c_str());
    }
    return ExitFailed;
}

} // namespace

int jsonCommand(int argc, char **argv) {
    const char *name = nullptr, *output = nullptr, *path = nullptr;
    bool compact = false, raw = false, options = true;
    for(int i = 1; i < argc; i++) {
        const char *arg = argv[i];
        if(!options || arg[0] != '-' || arg[1] == '\0') {
            if(name) return usageError("json", "more than one input: \"%s\" and \"%s\"", name, arg);
            name = arg;
        } else if(strcmp(arg, "--help") == 0 || strcmp(arg, "-h") == 0) {
            print_help();
            return ExitDone;
        } else if(strcmp(arg, "--") == 0) {
            options = false;
        } else if(strcmp(arg, "--compact") == 0) {
            compact = true;
        } else if(strcmp(arg, "--raw") == 0) {
            raw = true;
        } else if(strcmp(arg, "-o") == 0 || strcmp(arg, "--get") == 0) {
            if(i + 1 == argc) return usageError("json", "\"%s\" needs a value", arg);
            (arg[1] == 'o' ? output : path) = argv[++i];
        } else {
            return usageError("json", "unknown option \"%s\"", arg);
        }
    }
    if(name == nullptr) return usageError("json", "no input file");

    Log::setCallback(hold_errors);
    Json json;
    bool loaded = false;
    if(strcmp(name, "-") == 0) {
        name = "standard input";
        File file;
        loaded = file.open(dup(STDIN_FILENO), name, "rb") && json.load(file);
    } else {
        loaded = json.load(name);
    }
    if(!loaded) return fail(name);

    const Json element = json.getChild(path ? path : "");
    if(!element) {
        fprintf(stderr, "ostrevan json: %s: no element \"%s\"\n", name, path);
        return ExitFailed;
    }
    Blob blob;
    if(raw && element.isString()) {
        blob.puts(element.getData());
    } else if(!element.save(blob, compact)) {
        return fail(name);
    }
    blob.puts("\n");
    return writeOutput("json", output ? output : "-", blob.getData(), blob.getSize()) ? ExitDone : ExitFailed;
}
