// What a SPIR-V module tells of its interface, as JSON.

#pragma once

#include <map>
#include <stdint.h>
#include <string>
#include <vector>

/// Reader of a module's declarations. The words must outlive it.
class ShaderModule {
public:
    /// False for words that are no module.
    bool load(const uint32_t *words, size_t size);

    /// Members of a JSON object, without its braces: `workgroup` if the stage has one, `capabilities`, `extensions`,
    /// `inputs` and `outputs` with their locations, `bindings`, and `constants` with the bytes of the push constants.
    std::string getJson() const;

private:
    static constexpr uint32_t None = ~0u;

    struct Member {
        uint32_t offset = 0;
        uint32_t matrix_stride = 0;
        bool row_major = false;
    };
    struct Object {
        const uint32_t *type = nullptr; // instruction of a type or a constant
        std::string name;
        uint32_t location = None, component = None, binding = None, set = 0, array_stride = 0;
        bool buffer_block = false;
        std::map<uint32_t, Member> members;
    };
    struct Variable {
        uint32_t id, type, storage;
    };

    const Object &get(uint32_t id) const;
    uint32_t get_opcode(uint32_t id) const;
    uint32_t get_operand(uint32_t id, uint32_t index) const;
    uint64_t get_size(uint32_t type, const Member &member, uint32_t depth = 0) const;
    std::string get_type(uint32_t type, uint32_t depth = 0) const;
    std::string get_kind(const Variable &variable, uint32_t type) const;
    void append_name(std::string &json, uint32_t id) const;
    void append_interface(std::string &json, uint32_t storage) const;
    void append_bindings(std::string &json) const;

    std::vector<Object> objects; // by id
    std::vector<Variable> variables;
    std::vector<uint32_t> capabilities;
    std::vector<std::string> extensions;
    uint32_t group[3] = {};
};
