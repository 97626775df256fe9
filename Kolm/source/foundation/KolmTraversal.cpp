// KolmTraversal.cpp: groups of ray tracing shaders.

#include "KolmTraversal.h"

namespace Kolm {

namespace {

// The shaders of a group in the order of its owner bits.
template<class Func> void for_each_shader(const Traversal::TraversalGroup &group, Func func) {
    func(group.closest_shader, (group.shader_owners & Traversal::TraversalGroup::OwnerClosest) != 0);
    func(group.firsthit_shader, (group.shader_owners & Traversal::TraversalGroup::OwnerFirstHit) != 0);
    func(group.intersection_shader, (group.shader_owners & Traversal::TraversalGroup::OwnerIntersection) != 0);
}

} // namespace

Traversal::Traversal(uint32_t index, const Traversal *traversal) : StageParameters(index) {
    if(traversal) setParameters(traversal);
}

Traversal::~Traversal() { remove_shaders(); }

void Traversal::remove_shaders() {
    if(shader_owner) delete raygen_shader;
    raygen_shader = nullptr;
    shader_owner = false;
    for(const RayMissGroup &group : raymiss_shaders) {
        if(group.shader_owner) delete group.raymiss_shader;
    }
    raymiss_shaders.clear();
    for(const TraversalGroup &group : traversal_shaders) {
        for_each_shader(group, [](Shader *shader, bool owner) {
            if(owner) delete shader;
        });
    }
    traversal_shaders.clear();
}

void Traversal::clear() {
    remove_shaders();
    recursion_depth = 0;
    Parameters::clear();
}

Traversal &Traversal::setParameters(const Traversal *traversal) {
    KOLM_ASSERT(traversal && "Traversal::setParameters(): traversal is null");
    if(traversal == this) return *this;
    remove_shaders();
    raygen_shader = traversal->raygen_shader;
    for(const RayMissGroup &group : traversal->raymiss_shaders) {
        raymiss_shaders.append(group).shader_owner = false;
    }
    for(const TraversalGroup &group : traversal->traversal_shaders) {
        traversal_shaders.append(group).shader_owners = 0;
    }
    copy_parameters(*traversal);
    recursion_depth = traversal->recursion_depth;
    return *this;
}

bool Traversal::saveState(Stream &stream) const {
    const bool status = save_parameters(stream, true);
    return stream.writeu16(recursion_depth) && status;
}

void Traversal::addShader(Shader *shader, bool owner) {
    KOLM_ASSERT(shader && "Traversal::addShader(): shader is null");
    if(shader->getType() == Shader::TypeRayGen) {
        if(shader_owner && raygen_shader != shader) delete raygen_shader;
        raygen_shader = shader;
        shader_owner = owner;
        return;
    }
    if(shader->getType() == Shader::TypeRayMiss) {
        raymiss_shaders.append(RayMissGroup{shader, owner});
        return;
    }
    Shader *TraversalGroup::*slot = nullptr;
    uint32_t bit = 0;
    switch(shader->getType()) {
    case Shader::TypeClosest:
        slot = &TraversalGroup::closest_shader;
        bit = TraversalGroup::OwnerClosest;
        break;
    case Shader::TypeFirstHit:
        slot = &TraversalGroup::firsthit_shader;
        bit = TraversalGroup::OwnerFirstHit;
        break;
    case Shader::TypeIntersection:
        slot = &TraversalGroup::intersection_shader;
        bit = TraversalGroup::OwnerIntersection;
        break;
    default: KOLM_ASSERT(0 && "Traversal::addShader(): unknown shader type");
    }
    if(traversal_shaders.empty() || traversal_shaders.back().*slot) traversal_shaders.append(TraversalGroup());
    TraversalGroup &group = traversal_shaders.back();
    group.*slot = shader;
    if(owner) group.shader_owners |= bit;
}

void Traversal::getShaders(Array<Shader *> &shaders) const {
    shaders.clear();
    if(raygen_shader) shaders.append(raygen_shader);
    for(const RayMissGroup &group : raymiss_shaders) shaders.append(group.raymiss_shader);
    for(const TraversalGroup &group : traversal_shaders) {
        for_each_shader(group, [&](Shader *shader, bool) {
            if(shader) shaders.append(shader);
        });
    }
}

uint32_t Traversal::getNumShaders() const {
    Array<Shader *> shaders;
    getShaders(shaders);
    return shaders.size();
}

Traversal &Traversal::setRecursionDepth(uint32_t depth) {
    KOLM_ASSERT(depth <= UINT16_MAX && "Traversal::setRecursionDepth(): invalid recursion depth");
    recursion_depth = uint16_t(depth);
    return *this;
}

} // namespace Kolm
