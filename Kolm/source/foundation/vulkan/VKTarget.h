// VKTarget.h: render passes and framebuffers of a target.
// Rests on VKPasses, VKTexture and VKSurface. Hides when a pass begins, and that secondary recorders need another one.

#pragma once

#include "KolmTarget.h"

#include "VKPasses.h"

namespace Kolm {

class VKSurface;
class VKTexture;

/// The pass begins with the first draw, by its kind: draws of recorders, or of command devices. Both kinds in one
/// target make several passes of it, for which all textures have to be stored.
///
/// Textures are in their readable layout outside of the pass. Framebuffers are kept until a parameter changes or a
/// texture is created anew.
class VKTarget : public Target {
public:
    explicit VKTarget(VKContext *context, const Surface *surface = nullptr);
    ~VKTarget() override;

    Platform getPlatform() const override { return PlatformVK; }

    VKContext *getContext() const { return context; }
    /// Pass for commands of \p contents, begun now if it is another one. False if the reason was logged.
    bool beginPass(VkSubpassContents contents) {
        return (KOLM_LIKELY(has_pass && pass_contents == contents) || begin_pass(contents));
    }
    /// Goes on with own commands if those of command devices are under way. False if the reason was logged.
    bool leaveSecondary() {
        return (!has_pass || pass_contents == VK_SUBPASS_CONTENTS_INLINE || begin_pass(VK_SUBPASS_CONTENTS_INLINE));
    }
    /// Command buffer for commands of the application: in the pass if \p context has a target that is enabled.
    static VkCommandBuffer getCommand(VKContext *context);
    /// What secondary command buffers inherit, while the target is enabled.
    VkRenderPass getRenderPass() const { return render_pass; }
    VkFramebuffer getFramebuffer() const { return framebuffer; }
    /// Whether the target draws to a part of \p slice.
    bool isAttached(const Texture *texture, const Slice &slice) const;

protected:
    bool begin_target(Fence *fence) override;
    bool end_target(Fence *fence) override;
    void clear_target() override;

private:
    // A texture that the framebuffer was made of.
    struct Attachment {
        VKTexture *texture;
        Slice slice;
        const char *kind; // in messages
        uint64_t image_id;
        bool operator==(const Attachment &) const = default;
    };

    bool begin_pass(VkSubpassContents contents);
    void end_pass();
    void get_attachments();
    bool create_pass();
    bool create_surface();
    bool create_textures();
    bool create_framebuffer(const VkImageView *views, uint32_t num, uint32_t layers);
    VkClearValue get_clear_value(uint32_t index) const;

    VKAdapter *adapter;
    VKContext *context;
    uint32_t width = 0;
    uint32_t height = 0;
    VKPasses::Key key;
    VkRenderPass render_pass = VK_NULL_HANDLE;
    VkFramebuffer framebuffer = VK_NULL_HANDLE;
    bool is_owner = true; // of the framebuffer; else it is the surface's
    bool has_pass = false;
    VkSubpassContents pass_contents = VK_SUBPASS_CONTENTS_INLINE;
    Array<Attachment> attachments;             // of the parameters
    Array<Attachment> framebuffer_attachments; // that the framebuffer was made of
    VkImageView surface_views[2] = {};
};

} // namespace Kolm
