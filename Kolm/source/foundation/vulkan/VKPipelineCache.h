// VKPipelineCache.h: the driver's compiled programs on their way from and to the cache of shaders.

#pragma once

#include "KolmBlob.h"
#include "VKContext.h"

namespace Kolm {

/// Cache object for the creation of one pipeline, under the key of that pipeline. Without a cache of programs it does
/// nothing.
class VKPipelineCache : private NoCopy {
public:
    /// \p name is the class of the pipeline, for messages.
    VKPipelineCache(VKAdapter *adapter, const char *name) : adapter(adapter), name(name) {}
    ~VKPipelineCache() { clear(); }

    /// Begins the key with what tells driver and device. False if nothing is kept; the caller then writes no state.
    bool begin(Blob &key) const;
    /// Makes the cache object, with what is kept under the key. False if the reason was logged.
    bool create(Blob &key);
    /// The same without what is kept, which the driver refused.
    bool recreate();
    void clear();

    /// To create the pipeline with; null if nothing is kept.
    VkPipelineCache get() const { return cache; }
    bool isHit() const { return is_hit; }

    /// Keeps what the driver made, unless that is where it came from. False if the reason was logged.
    bool save();

private:
    bool create_cache(const Blob &data);
    bool check(const Blob &data) const;

    VKAdapter *adapter;
    const char *name;
    String hash; // of the key
    VkPipelineCache cache = VK_NULL_HANDLE;
    bool is_hit = false;
};

} // namespace Kolm
