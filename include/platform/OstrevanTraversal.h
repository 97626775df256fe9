// The shaders of a ray tracing pipeline.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>
#include <platform/OstrevanPlatform.h>
#include <platform/OstrevanShader.h>

namespace Ostrevan {

/// One ray generation shader, miss shaders, and groups of what runs at a hit, made by Device::createTraversal():
/// described first, then created, then used by Compute. The binding slots are those of Kernel, with the stages that see
/// each; slots are counted up to the first one without a stage.
class OSTREVAN_API Traversal {
    OSTREVAN_HANDLE(Traversal)
public:
#include <foundation/SlotLimits.inc>

    Traversal();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    uint32_t getIndex() const;

    /// Removes the shaders and gives all parameters their defaults.
    void clear();
    bool isCreated() const;
    /// Makes layouts and pipeline of what was described. False if the reason was logged.
    bool create();

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;

    /// Copies all parameters but the name. The shaders are shared: \p traversal has to outlive their use here.
    Traversal &setParameters(const Traversal &traversal);

    /// Ray generation replaces what is there; a miss shader is appended; a hit shader goes to the last group if its
    /// place is free there, else to a new one. Other types are the caller's mistake. With \p owner it is deleted with
    /// the traversal, else the caller keeps it alive.
    void addShader(const Shader &shader, bool owner = false);
    uint32_t getNumShaders() const;

    uint32_t getNumRayMissShaders() const;
    /// Groups of hit shaders.
    uint32_t getNumTraversalShaders() const;
    /// Rays within rays; a device has Device::Features::recursionDepth.
    Traversal &setRecursionDepth(uint32_t depth);
    uint32_t getRecursionDepth() const;

#define STAGE_CLASS Traversal
#include <platform/OstrevanStageParameters.inc>
};

inline Traversal::BindFlags operator|(Traversal::BindFlags a, Traversal::BindFlags b) {
    return Traversal::BindFlags(uint32_t(a) | uint32_t(b));
}

} // namespace Ostrevan
