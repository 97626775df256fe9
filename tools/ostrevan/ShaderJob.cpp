#include "ShaderJob.h"

#include "Output.h"
#include "ShaderModule.h"

#include <algorithm>
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

using namespace Ostrevan;

const ShaderStage shader_stages[14] = {
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

const ShaderStage *findStage(const char *name) {
    for(const ShaderStage &stage : shader_stages) {
        if(strcmp(stage.name, name) == 0) return &stage;
    }
    return nullptr;
}

const ShaderStage *findFileStage(const char *name) {
    const char *base = strrchr(name, '/');
    base = base ? base + 1 : name;
    const char *end = base + strlen(base);
    for(uint32_t i = 0; i < 2; i++) {
        const char *dot = end;
        while(dot > base && *--dot != '.') {}
        if(dot == base) break;
        const size_t size = static_cast<size_t>(end - dot - 1);
        for(const ShaderStage &stage : shader_stages) {
            if(strlen(stage.extension) == size && strncmp(stage.extension, dot + 1, size) == 0) return &stage;
        }
        if(size != 4 || strncmp(dot + 1, "glsl", 4) != 0) break;
        end = dot;
    }
    return nullptr;
}

// -- Messages ---------------------------------------------------------------------------------------------------------

static thread_local ShaderJob *current_job = nullptr;

bool ShaderJob::append(Log::Level level, size_t, const char *text, void *) {
    if(level > Log::Warning) return true;
    if(current_job)
        current_job->messages.push_back({level, text});
    else
        fputs(text, stderr);
    return true;
}

void ShaderJob::print() const {
    for(const Message &message : messages) fputs(message.text.c_str(), stderr);
}

namespace {

/// A message taken apart.
struct Diagnostic {
    std::string level, message, file, source;
    uint32_t line = 0; // 0 if the message names no place
};

// "FILE:LINE: TEXT", as it stands in messages.
bool read_place(const std::string &text, Diagnostic &diagnostic) {
    for(size_t colon = text.find(':'); colon != std::string::npos; colon = text.find(':', colon + 1)) {
        size_t end = colon + 1;
        while(end < text.size() && isdigit(static_cast<unsigned char>(text[end]))) end++;
        const bool last = (end == text.size());
        if(end == colon + 1 || colon == 0 || (!last && text[end] != ':' && text[end] != ' ')) continue;
        diagnostic.file = text.substr(0, colon);
        diagnostic.line = static_cast<uint32_t>(strtoul(text.c_str() + colon + 1, nullptr, 10));
        if(!last && text[end] == ':') end++;
        while(end < text.size() && text[end] == ' ') end++;
        diagnostic.source = text.substr(end);
        return true;
    }
    return false;
}

Diagnostic get_diagnostic(const ShaderJob::Message &message) {
    static constexpr const char *levels[] = {"fatal", "error", "warning", "message", "verbose", "unknown"};
    Diagnostic ret;
    ret.level = levels[message.level < Log::Unknown ? message.level : Log::Unknown];
    std::string text = message.text;
    // "Class::method(): " is for who reads the library's log.
    const size_t name = text.find("(): ");
    if(name != std::string::npos && text.find_first_of(" \n\"") > name && text.find("::") < name)
        text.erase(0, name + 4);
    while(!text.empty() && text.back() == '\n') text.pop_back();
    for(size_t pos = 0; pos <= text.size();) {
        const size_t end = std::min(text.find('\n', pos), text.size());
        const std::string line = text.substr(pos, end - pos);
        pos = end + 1;
        if(ret.line == 0 && read_place(line, ret)) continue;
        if(!ret.message.empty()) ret.message += '\n';
        ret.message += line;
    }
    // #error and its like: what stands behind the place is the message
    if(ret.line && ret.message.empty()) ret.message.swap(ret.source);
    return ret;
}

} // namespace

std::string ShaderJob::getJson() const {
    std::string json = "{\"file\":";
    appendJson(json, input);
    json += std::string(",\"stage\":\"") + stage->name + "\",\"done\":" + (done ? "true" : "false");
    if(done) {
        json += ",\"output\":";
        appendJson(json, output.c_str());
        json += "," + reflection;
    }
    json += ",\"diagnostics\":[";
    std::vector<Diagnostic> diagnostics;
    for(const Message &message : messages) diagnostics.push_back(get_diagnostic(message));
    const char *comma = "";
    for(size_t i = 0; i < diagnostics.size(); i++) {
        const Diagnostic &diagnostic = diagnostics[i];
        // The compiler says a thing, and the shader says it again with its place.
        const bool again = i + 1 < diagnostics.size() && diagnostic.line == 0 && diagnostics[i + 1].line &&
                           diagnostic.message == diagnostics[i + 1].message;
        if(again) continue;
        json += std::string(comma) + "{\"level\":\"" + diagnostic.level + "\"";
        if(diagnostic.line) {
            json += ",\"file\":";
            appendJson(json, diagnostic.file.c_str());
            json += ",\"line\":" + std::to_string(diagnostic.line);
        }
        json += ",\"message\":";
        appendJson(json, diagnostic.message.c_str());
        if(!diagnostic.source.empty()) {
            json += ",\"source\":";
            appendJson(json, diagnostic.source.c_str());
        }
        json += "}";
        comma = ",";
    }
    return json + "]}";
}

// -- Work -------------------------------------------------------------------------------------------------------------

void ShaderJob::run(bool reflect) {
    current_job = this;
    ShaderCompiler compiler;
    if(compiler.loadGLSL(stage->type, input)) {
        const uint32_t num = compiler.getNumOpcodes();
        for(const String &name : compiler.getSources()) sources.push_back(name.get());
        ShaderModule module;
        if(reflect && module.load(compiler.getOpcodes(), num)) reflection = module.getJson();
        std::string error;
        if(output == "-")
            done = writeOutput("shader", "-", compiler.getOpcodes(), sizeof(uint32_t) * num);
        else
            done = writeFile(output.c_str(), compiler.getOpcodes(), sizeof(uint32_t) * num, error);
        if(!error.empty()) messages.push_back({Log::Error, "ostrevan shader: " + error + "\n"});
    }
    current_job = nullptr;
}
