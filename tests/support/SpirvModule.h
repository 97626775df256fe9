// SPIR-V modules in tests: validation, and looking at their instructions.
//
// Every module that a test makes goes through the validator, for the environment of its version. The validator is the
// library of SPIRV-Tools where the build found it, otherwise the program spirv-val.

#pragma once

#include <gtest/gtest.h>

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#ifdef OSTREVAN_SPIRV_TOOLS
#include <spirv-tools/libspirv.hpp>
#endif

class SpirvModule {
public:
    struct Instruction {
        uint32_t opcode;
        std::vector<uint32_t> words; // operands, result type and id included
    };

    SpirvModule() = default;
    SpirvModule(const uint32_t *data, size_t size) : words(data, data + size) { read(); }

    bool empty() const { return words.empty(); }
    uint32_t version() const { return words.size() > 1 ? words[1] : 0; }

    /// Whether the module validates for the environment of its version.
    testing::AssertionResult validate() const {
        if(words.size() < 5) return testing::AssertionFailure() << "no module";
#ifdef OSTREVAN_SPIRV_TOOLS
        const spv_target_env env = (version() == 0x10000)   ? SPV_ENV_VULKAN_1_0
                                   : (version() == 0x10300) ? SPV_ENV_VULKAN_1_1
                                                            : SPV_ENV_VULKAN_1_1_SPIRV_1_4;
        spvtools::SpirvTools tools(env);
        std::string text;
        tools.SetMessageConsumer([&](spv_message_level_t, const char *, const spv_position_t &, const char *message) {
            text += std::string(message) + "\n";
        });
        if(tools.Validate(words)) return testing::AssertionSuccess();
        return testing::AssertionFailure() << text << disassemble();
#else
        const char *env = (version() == 0x10000)   ? "vulkan1.0"
                          : (version() == 0x10300) ? "vulkan1.1"
                                                   : "vulkan1.1spv1.4";
        std::string name = "/tmp/ostrevan_" + std::to_string(getpid()) + ".spv";
        FILE *file = fopen(name.c_str(), "wb");
        if(file == nullptr) return testing::AssertionFailure() << "can't write " << name;
        fwrite(words.data(), sizeof(uint32_t), words.size(), file);
        fclose(file);
        const std::string command = std::string("spirv-val --target-env ") + env + " " + name + " 2>&1";
        std::string text;
        FILE *pipe = popen(command.c_str(), "r");
        char line[512];
        while(pipe && fgets(line, sizeof(line), pipe)) text += line;
        const int ret = pipe ? pclose(pipe) : -1;
        unlink(name.c_str());
        if(ret == 0) return testing::AssertionSuccess();
        return testing::AssertionFailure() << text;
#endif
    }

    std::string disassemble() const {
#ifdef OSTREVAN_SPIRV_TOOLS
        std::string text;
        spvtools::SpirvTools tools(SPV_ENV_UNIVERSAL_1_5);
        tools.Disassemble(words, &text, SPV_BINARY_TO_TEXT_OPTION_INDENT | SPV_BINARY_TO_TEXT_OPTION_NO_HEADER);
        return text;
#else
        return std::string();
#endif
    }

    size_t count(uint32_t opcode) const {
        size_t ret = 0;
        for(const Instruction &inst : instructions) ret += (inst.opcode == opcode);
        return ret;
    }
    bool hasCapability(uint32_t capability) const { return has(17, {capability}); }
    bool hasExtension(const std::string &name) const {
        for(const Instruction &inst : instructions) {
            if(inst.opcode == 10 && text(inst, 0) == name) return true;
        }
        return false;
    }
    /// Whether an instruction begins with these operands.
    bool has(uint32_t opcode, const std::vector<uint32_t> &operands) const {
        for(const Instruction &inst : instructions) {
            if(inst.opcode != opcode || inst.words.size() < operands.size()) continue;
            if(std::equal(operands.begin(), operands.end(), inst.words.begin())) return true;
        }
        return false;
    }
    /// Operands of the first instruction of a kind.
    std::vector<uint32_t> first(uint32_t opcode) const {
        for(const Instruction &inst : instructions) {
            if(inst.opcode == opcode) return inst.words;
        }
        return {};
    }
    /// Text operand that begins at a word.
    static std::string text(const Instruction &inst, size_t word) {
        if(word >= inst.words.size()) return std::string();
        const char *begin = reinterpret_cast<const char *>(inst.words.data() + word);
        return std::string(begin, strnlen(begin, (inst.words.size() - word) * 4));
    }
    /// Names of all OpName instructions, by id.
    std::map<uint32_t, std::string> names() const {
        std::map<uint32_t, std::string> ret;
        for(const Instruction &inst : instructions) {
            if(inst.opcode == 5) ret[inst.words[0]] = text(inst, 1);
        }
        return ret;
    }
    const Instruction *find(uint32_t id) const {
        for(const Instruction &inst : instructions) {
            if(inst.opcode >= 19 && inst.opcode <= 39 && inst.words[0] == id) return &inst;
            if(inst.opcode >= 41 && inst.opcode <= 59 && inst.words.size() > 1 && inst.words[1] == id) return &inst;
        }
        return nullptr;
    }
    /// Value of a decoration of an id; ~0 if it has none, 0 for one without operand.
    uint32_t decoration(uint32_t id, uint32_t decoration) const {
        for(const Instruction &inst : instructions) {
            if(inst.opcode == 71 && inst.words[0] == id && inst.words[1] == decoration) {
                return inst.words.size() > 2 ? inst.words[2] : 0;
            }
        }
        return ~0u;
    }
    uint32_t decoration(uint32_t id, uint32_t member, uint32_t decoration) const {
        for(const Instruction &inst : instructions) {
            if(inst.opcode == 72 && inst.words[0] == id && inst.words[1] == member && inst.words[2] == decoration) {
                return inst.words.size() > 3 ? inst.words[3] : 0;
            }
        }
        return ~0u;
    }
    /// Type of the block with this binding, arrays taken off; 0 if there is none.
    uint32_t blockType(uint32_t binding) const {
        for(const Instruction &inst : instructions) {
            if(inst.opcode == 59 && decoration(inst.words[1], 33) == binding) return pointee(inst.words[0]);
        }
        return 0;
    }
    uint32_t pushConstantType() const {
        for(const Instruction &inst : instructions) {
            if(inst.opcode == 59 && inst.words[2] == 9) return pointee(inst.words[0]);
        }
        return 0;
    }
    /// Places of everything in a type, as text: offsets, strides and how matrices lie, with the nesting spelt out.
    std::string layout(uint32_t type) const {
        const Instruction *inst = find(type);
        if(inst == nullptr) return "?";
        std::string ret;
        switch(inst->opcode) {
        case 30: // structure
            ret = "{";
            for(uint32_t i = 1; i < inst->words.size(); i++) {
                ret += std::to_string(decoration(type, i - 1, 35)) + ":";
                uint32_t element = inst->words[i];
                while(find(element) && (find(element)->opcode == 28 || find(element)->opcode == 29)) {
                    element = find(element)->words[1];
                }
                if(find(element) && find(element)->opcode == 24) {
                    ret += (decoration(type, i - 1, 4) != ~0u) ? "row" : "col";
                    ret += std::to_string(decoration(type, i - 1, 7)) + " ";
                }
                ret += layout(inst->words[i]) + " ";
            }
            return ret + "}";
        case 28: { // array
            const Instruction *length = find(inst->words[2]);
            return "[" + std::to_string(length ? length->words[2] : 0) + "/" + std::to_string(decoration(type, 6)) +
                   "]" + layout(inst->words[1]);
        }
        case 29: return "[/" + std::to_string(decoration(type, 6)) + "]" + layout(inst->words[1]);
        case 24: return "m" + std::to_string(inst->words[2]) + layout(inst->words[1]);
        case 23: return "v" + std::to_string(inst->words[2]) + layout(inst->words[1]);
        case 22: return "f" + std::to_string(inst->words[1]);
        case 21: return (inst->words[2] ? "i" : "u") + std::to_string(inst->words[1]);
        default: return "?";
        }
    }

    std::vector<uint32_t> words;
    std::vector<Instruction> instructions;

private:
    uint32_t pointee(uint32_t pointer) const {
        const Instruction *inst = find(pointer);
        uint32_t type = inst ? inst->words[2] : 0;
        while((inst = find(type)) && (inst->opcode == 28 || inst->opcode == 29)) type = inst->words[1];
        return type;
    }
    void read() {
        for(size_t pos = 5; pos < words.size();) {
            const size_t size = words[pos] >> 16;
            if(size == 0 || pos + size > words.size()) break;
            instructions.push_back({words[pos] & 0xFFFF, {words.begin() + pos + 1, words.begin() + pos + size}});
            pos += size;
        }
    }
};
