// KolmTraversal.h: the shaders of a ray tracing pipeline with the list of resources that they bind.

#pragma once

#include "KolmArray.h"
#include "KolmStageParameters.h"

namespace Kolm {

/// One ray generation shader, miss shaders, and groups of what runs at a hit: described first, then created, then used.
/// Groups are built by the order in which shaders are added.
class Traversal : public StageParameters<Traversal> {
public:
    struct RayMissGroup {
        Shader *raymiss_shader = nullptr;
        bool shader_owner = false;
    };
    struct TraversalGroup {
        enum : uint32_t { OwnerClosest = 1 << 0, OwnerFirstHit = 1 << 1, OwnerIntersection = 1 << 2 };
        Shader *closest_shader = nullptr;
        Shader *firsthit_shader = nullptr;
        Shader *intersection_shader = nullptr;
        uint32_t shader_owners = 0;
    };

    /// Takes over the parameters of \p traversal, which may be null.
    explicit Traversal(uint32_t index, const Traversal *traversal = nullptr);
    ~Traversal() override;

    /// Removes the shaders, deletes those that are owned, and gives all parameters their defaults.
    void clear() override;
    const char *getKindName() const override { return "traversal"; }

    /// Copies all parameters but the name. The shaders are shared: \p traversal has to outlive their use here.
    Traversal &setParameters(const Traversal *traversal);
    /// Writes the complete state apart from the shaders: 914 bytes in a fixed order.
    bool saveState(Stream &stream) const;

    /// Ray generation replaces what is there; a miss shader is appended; a hit shader goes to the last group if its
    /// place is free there, else to a new one. Other types are the caller's mistake.
    void addShader(Shader *shader, bool owner = false);
    uint32_t getNumShaders() const;
    void getShaders(Array<Shader *> &shaders) const;
    Shader *getRayGenShader() const { return raygen_shader; }
    uint32_t getNumRayMissShaders() const { return raymiss_shaders.size(); }
    const RayMissGroup &getRayMissShader(uint32_t index) const { return raymiss_shaders[index]; }
    uint32_t getNumTraversalShaders() const { return traversal_shaders.size(); }
    const TraversalGroup &getTraversalShader(uint32_t index) const { return traversal_shaders[index]; }

    /// Rays within rays; a device has Device::Features::recursionDepth.
    Traversal &setRecursionDepth(uint32_t depth);
    uint32_t getRecursionDepth() const { return recursion_depth; }

protected:
    const char *get_class_name() const override { return "Traversal"; }
    bool is_shader_type(Shader::Type type) const override {
        return (type >= Shader::TypeRayGen && type <= Shader::TypeIntersection);
    }

    Shader *raygen_shader = nullptr;
    bool shader_owner = false; // of the ray generation shader
    Array<RayMissGroup> raymiss_shaders;
    Array<TraversalGroup> traversal_shaders;
    uint16_t recursion_depth = 0;

private:
    void remove_shaders();
};

} // namespace Kolm
