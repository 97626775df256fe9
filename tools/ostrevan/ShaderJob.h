// One shader of the command line: how it is compiled, and what is told of it.

#pragma once

#include <Ostrevan.h>

#include <string>
#include <vector>

/// Stages by name and by the extension of files.
struct ShaderStage {
    const char *name;
    const char *extension;
    Ostrevan::Shader::Type type;
};
extern const ShaderStage shader_stages[14];

/// Stage by its name, and by the extension of a file name, of which a last "glsl" counts as none; null if there is none.
const ShaderStage *findStage(const char *name);
const ShaderStage *findFileStage(const char *name);

struct ShaderJob {
    /// A message of the library or the program.
    struct Message {
        Ostrevan::Log::Level level;
        std::string text; // as it is printed
    };

    const char *input = nullptr;
    std::string output;
    const ShaderStage *stage = nullptr;

    bool done = false;
    std::string reflection;           // members of a JSON object
    std::vector<std::string> sources; // files that the output depends on
    std::vector<Message> messages;

    /// Compiles the input and writes the output. With \p reflect the module's interface is read too. Jobs may run on
    /// any threads at once.
    void run(bool reflect);

    /// Messages as text for the terminal.
    void print() const;
    /// The job as a JSON object.
    std::string getJson() const;

    /// Callback of the log: keeps a message with the job that runs on this thread, or prints it.
    static bool append(Ostrevan::Log::Level level, size_t time, const char *text, void *data);
};
