// VKPasses.h: render passes of an adapter, shared by targets and pipelines. Rests on VKContext.
// Hides the descriptions of attachments, and what a pass waits for and lets wait.

#pragma once

#include "KolmTarget.h"

#include "VKCache.h"
#include "VKContext.h"

namespace Kolm {

/// One for each adapter. May be used from any thread.
///
/// A pass is ordered as a whole: it sees all that was recorded before it, and all that is recorded behind it sees what
/// it wrote. There is nothing to be ordered inside of it.
class VKPasses {
public:
    /// One attachment. A framebuffer has those of colours, depth, then what colours and depth are resolved to.
    struct Attachment {
        VkFormat format = VK_FORMAT_UNDEFINED; // undefined: there is none
        Target::Operation operation = Target::OpNone;
        VkImageLayout layout = VK_IMAGE_LAYOUT_UNDEFINED;         // before, unless nothing is loaded, and behind
        VkImageLayout resolve_layout = VK_IMAGE_LAYOUT_UNDEFINED; // of what it is resolved to, undefined without

        bool isResolved() const { return resolve_layout != VK_IMAGE_LAYOUT_UNDEFINED; }
        /// Whether the pixels are there after the pass.
        bool isStored() const {
            return (operation & Target::EndStore) || (operation & Target::EndMask) == Target::OpNone;
        }
        bool operator==(const Attachment &) const = default;
    };
    struct Key {
        uint32_t num_colors = 0;
        uint32_t samples = 1;
        Attachment colors[Target::NumTargets];
        Attachment depth;
        uint32_t getHash() const;
        bool operator==(const Key &) const = default;
    };

    static VKPasses &get(uint32_t adapter_index);

    /// Objects that use passes. The last release() destroys all of them, when the context's frame has passed.
    void retain() { counter++; }
    void release(VKContext *context);

    /// The same pass for equal keys; those that differ in operations and layouts alone are compatible. Null if the
    /// driver refuses.
    VkRenderPass getPass(const VKAdapter *adapter, const Key &key);

    uint32_t getNumPasses() const { return passes.size(); }

private:
    SpinLock lock;
    Atomici32 counter;
    VKCache<Key, VkRenderPass> passes;
};

} // namespace Kolm
