// Pieces of work for a device, at least one for each kind of object: each makes what it needs, uses it, compares the
// result with what is known, and lets everything go. For tests of what goes wrong around them.

#pragma once

#include <string>
#include <vector>

#include "VKDevice.h"

struct DeviceWork {
    const char *name;
    /// True if the result is right. False if anything was refused, or if the result is another one.
    bool (*run)(Kolm::VKDevice &device);
    /// Extensions and features without which it is refused: "EXT_mesh_shader", "geometryShader", "MeshShaderFeatures.1"
    /// (the record and the number of its member).
    std::vector<std::string> needs;

    static const std::vector<DeviceWork> &getList();
    /// By its name, which has to be one of the list.
    static const DeviceWork &get(const std::string &name);
};
