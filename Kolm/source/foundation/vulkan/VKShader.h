// VKShader.h: a shader module, and what a pipeline has to know of it.
// Rests on Shader, which brings the words, and VKContext. Hides the walk over a module's header.

#pragma once

#include "KolmShader.h"

#include "VKContext.h"

namespace Kolm {

class VKShader : public Shader {
public:
    explicit VKShader(VKContext *context);
    ~VKShader() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return shader != VK_NULL_HANDLE; }
    bool saveState(Stream &stream) const override;

    VkShaderModule getShader() const { return shader; }
    /// Name of the entry point.
    const String &getEntryName() const { return entry_name; }
    /// Threads of a compute, task or mesh group, 0 where the module names none.
    uint32_t getGroupSize(uint32_t index) const { return group_size[index]; }
    /// Resource that the code uses, by its numbers.
    struct Binding {
        uint32_t id = 0; // of the variable in the module
        uint32_t set = 0;
        uint32_t binding = 0;
        bool used = false;
    };
    const Array<Binding> &getBindings() const { return bindings; }
    /// Subgroup size of the pragma "subgroup_size", 0 without one.
    uint32_t getSubgroupSize() const { return subgroup_size; }
    /// SHA-1 of the words.
    const uint32_t *getHash() const { return hash; }

    /// Stage bits of a set of shader types.
    static VkShaderStageFlags getStageFlags(Shader::Mask mask);

protected:
    bool set_macros(State &state) const override;
    bool compile(Type type, const String &src, State &state) override;
    bool compile(Type type, const Array<uint32_t> &opcodes, State &state) override;

private:
    bool load_module(Type type, const Array<uint32_t> &opcodes);
    /// One line for the first capability that the device does not have.
    bool check_capabilities(const Array<uint32_t> &opcodes) const;
    void load_bindings(const Array<uint32_t> &opcodes);
    bool load_group_size(const Array<uint32_t> &opcodes, const uint32_t *ids);

    VKContext *context = nullptr;
    VkShaderModule shader = VK_NULL_HANDLE;
    String entry_name;
    uint32_t group_size[3] = {};
    Array<Binding> bindings;
    uint32_t subgroup_size = 0;
    uint32_t hash[5] = {};
};

} // namespace Kolm
