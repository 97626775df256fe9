#include "VKTarget.h"

#include "KolmLog.h"
#include "VKFence.h"
#include "VKFormat.h"
#include "VKSurface.h"
#include "VKTexture.h"

namespace Kolm {

VKTarget::VKTarget(VKContext *context, const Surface *surface)
    : Target(context->getAdapter()->getIndex(), surface), adapter(context->getAdapter()), context(context->retain()) {
    VKPasses::get(adapter->getIndex()).retain();
}

VKTarget::~VKTarget() {
    KOLM_ASSERT(!isEnabled() && "VKTarget::~VKTarget(): is enabled");
    clear_target();
    VKPasses::get(adapter->getIndex()).release(context);
    VKContext::release(context);
}

void VKTarget::clear_target() {
    if(is_owner) context->releaseFramebuffer(framebuffer);
    framebuffer = VK_NULL_HANDLE;
    render_pass = VK_NULL_HANDLE;
    framebuffer_attachments.clear();
    surface_views[0] = surface_views[1] = VK_NULL_HANDLE;
}

// The textures in the order of the pass's attachments.
void VKTarget::get_attachments() {
    attachments.clear();
    const auto append = [this](Texture *texture, const Slice &slice, const char *kind) {
        VKTexture *vk_texture = cast<VKTexture>(texture);
        attachments.append(Attachment{vk_texture, slice, kind, vk_texture->getImageID()});
    };
    for(uint32_t i = 0; i < num_targets; i++) append(targets[i].texture, targets[i].texture_slice, "color");
    if(depth_texture) append(depth_texture, depth_texture_slice, "depth");
    for(uint32_t i = 0; i < num_targets; i++) {
        if(targets[i].operation & EndResolve) append(targets[i].resolve, targets[i].resolve_slice, "color resolve");
    }
    if(depth_texture && (depth_operation & EndResolve)) append(depth_resolve, depth_resolve_slice, "depth resolve");
}

bool VKTarget::create_pass() {
    render_pass = VKPasses::get(adapter->getIndex()).getPass(adapter, key);
    if(render_pass) return true;
    Log::printf(Log::Error, "VKTarget::get_render_pass(): can't create render pass\n");
    return false;
}

bool VKTarget::create_framebuffer(const VkImageView *views, uint32_t num, uint32_t layers) {
    auto info = vk_record<VkFramebufferCreateInfo>(VK_STRUCTURE_TYPE_FRAMEBUFFER_CREATE_INFO);
    info.renderPass = render_pass;
    info.attachmentCount = num;
    info.pAttachments = views;
    info.width = width;
    info.height = height;
    info.layers = layers;
    VkFramebuffer new_framebuffer = VK_NULL_HANDLE;
    if(VK::error(vkCreateFramebuffer(adapter->getDevice(), &info, nullptr, &new_framebuffer))) {
        Log::printf(Log::Error, "VKTarget::begin(): can't create framebuffer\n");
        return false;
    }
    framebuffer = new_framebuffer;
    is_owner = true;
    return true;
}

// Colours and depth of the surface's images, which are in their attachment layouts around the pass. A target that was
// told nothing clears both and stores the colour.
bool VKTarget::create_surface() {
    const VKSurface *vk_surface = static_cast<const VKSurface *>(surface);
    VkImageView views[2] = {};
    key = VKPasses::Key();
    key.samples = surface->getMultisample();
    if(surface->getColorFormat()) {
        key.num_colors = 1;
        key.colors[0].format = vk_surface->getColorPixelFormat();
        key.colors[0].operation = targets[0].operation ? targets[0].operation : OpClearStore;
        key.colors[0].layout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
        views[0] = vk_surface->getColorImageView();
    }
    if(surface->getDepthFormat()) {
        key.depth.format = vk_surface->getDepthPixelFormat();
        key.depth.operation = depth_operation ? depth_operation : OpClearDiscard;
        key.depth.layout = VK_IMAGE_LAYOUT_DEPTH_STENCIL_ATTACHMENT_OPTIMAL;
        views[key.num_colors] = vk_surface->getDepthImageView();
    }
    const uint32_t num = key.num_colors + (key.depth.format ? 1 : 0);

    if(vk_surface->getFramebuffer()) {
        if(is_owner) clear_target();
        framebuffer = vk_surface->getFramebuffer();
        is_owner = false;
        // The owner's own pass serves what it was made for.
        const bool is_default = (targets[0].operation == OpNone && depth_operation == OpNone);
        if(!is_default || vk_surface->getRenderPass() == VK_NULL_HANDLE) return create_pass();
        render_pass = vk_surface->getRenderPass();
        return true;
    }
    for(uint32_t i = 0; i < num; i++) {
        if(views[i]) continue;
        Log::printf(Log::Error, "VKTarget::begin(): surface has no %s image view\n",
                    (i < key.num_colors) ? "color" : "depth");
        return false;
    }
    // The application may destroy its views after the frame: a framebuffer of them lasts for one.
    clear_target();
    return create_pass() && create_framebuffer(views, num, surface->getColorLayers());
}

bool VKTarget::create_textures() {
    get_attachments();
    bool same = (framebuffer != VK_NULL_HANDLE && attachments.size() == framebuffer_attachments.size());
    for(uint32_t i = 0; same && i < attachments.size(); i++) same = (attachments[i] == framebuffer_attachments[i]);
    if(same && width == getWidth() && height == getHeight()) return true;

    clear_target();
    width = getWidth();
    height = getHeight();
    key = VKPasses::Key();
    key.num_colors = num_targets;
    key.samples = getMultisample();
    const auto set = [this](VKPasses::Attachment &attachment, Texture *texture, Texture *resolve, Operation operation) {
        attachment.format = cast<VKTexture>(texture)->getPixelFormat();
        attachment.operation = operation;
        attachment.layout = cast<VKTexture>(texture)->getReadLayout();
        if(operation & EndResolve) attachment.resolve_layout = cast<VKTexture>(resolve)->getReadLayout();
    };
    for(uint32_t i = 0; i < num_targets; i++)
        set(key.colors[i], targets[i].texture, targets[i].resolve, targets[i].operation);
    if(depth_texture) set(key.depth, depth_texture, depth_resolve, depth_operation);

    VkImageView views[NumTargets * 2 + 2];
    uint32_t layers = ~0u;
    for(uint32_t i = 0; i < attachments.size(); i++) {
        const Attachment &attachment = attachments[i];
        views[i] = attachment.texture->getTextureView(attachment.slice, FormatUnknown, VKTexture::ViewTarget);
        if(views[i] == VK_NULL_HANDLE) {
            Log::printf(Log::Error, "VKTarget::begin(): can't create %s image view\n", attachment.kind);
            return false;
        }
        const uint32_t depth =
            attachment.texture->is3DType() ? attachment.texture->getDepth(attachment.slice.mipmap) : 1;
        layers = min(layers, attachment.slice.faces * attachment.slice.layers * depth);
    }
    if(!create_pass() || !create_framebuffer(views, attachments.size(), layers)) return false;
    framebuffer_attachments = attachments;
    return true;
}

bool VKTarget::begin_target(Fence *fence) {
    if(!context->isPrimary() || context->getTarget()) {
        Log::printf(Log::Error, "VKTarget::begin(): %s\n",
                    context->getTarget() ? "another target is enabled" : "command devices have no targets");
        return false;
    }
    if(fence && !cast<VKFence>(fence)->wait(context)) {
        Log::printf(Log::Error, "VKTarget::begin(): can't wait fence\n");
        return false;
    }
    if(surface) {
        width = getWidth();
        height = getHeight();
        if(!create_surface()) return false;
    } else {
        if(!create_textures()) return false;
        VKContext::Barriers barriers;
        for(const Attachment &attachment : attachments) {
            const VkImageLayout layout = attachment.texture->getReadLayout();
            if(attachment.texture->getTextureLayout() != layout)
                attachment.texture->setTextureLayout(barriers, context, layout, false, VK_ACCESS_SHADER_READ_BIT);
        }
        context->barrier(barriers);
    }
    has_pass = false;
    context->setTarget(this);
    return true;
}

// Colours are stored as the format has them.
VkClearValue VKTarget::get_clear_value(uint32_t index) const {
    const Color &color = targets[index].clear_color;
    const float32_t values[] = {color.r, color.g, color.b, color.a};
    const Format format = getColorFormat(index);
    VkClearValue clear = {};
    for(uint32_t i = 0; i < 4; i++) {
        if(!isIntegerFormat(format) || isNormFormat(format)) {
            clear.color.float32[i] = values[i];
        } else if(isSignedFormat(format)) {
            clear.color.int32[i] = int32_t(min(max(float64_t(values[i]), -2147483648.0), 2147483647.0));
        } else {
            clear.color.uint32[i] = uint32_t(min(max(float64_t(values[i]), 0.0), 4294967295.0));
        }
    }
    return clear;
}

bool VKTarget::begin_pass(VkSubpassContents contents) {
    VkRenderPass pass = render_pass;
    if(has_pass) {
        // The pass is cut in two: what is behind goes on with what is in front.
        VKPasses::Key load_key = key;
        bool is_stored = true;
        const auto load = [&is_stored](VKPasses::Attachment &attachment) {
            is_stored &= (attachment.format == VK_FORMAT_UNDEFINED || attachment.isStored());
            attachment.operation = (attachment.operation & EndMask) | BeginLoad;
        };
        for(uint32_t i = 0; i < key.num_colors; i++) load(load_key.colors[i]);
        load(load_key.depth);
        if(!is_stored) {
            Log::printf(Log::Error, "VKTarget::begin_pass(): own draws and those of command devices need textures that "
                                    "are stored\n");
            return false;
        }
        pass = VKPasses::get(adapter->getIndex()).getPass(adapter, load_key);
        if(pass == VK_NULL_HANDLE) {
            Log::printf(Log::Error, "VKTarget::get_render_pass(): can't create render pass\n");
            return false;
        }
        end_pass();
    }
    VkClearValue clears[NumTargets + 1];
    for(uint32_t i = 0; i < key.num_colors; i++) clears[i] = get_clear_value(i);
    clears[key.num_colors].depthStencil = {clear_depth, clear_stencil};
    auto info = vk_record<VkRenderPassBeginInfo>(VK_STRUCTURE_TYPE_RENDER_PASS_BEGIN_INFO);
    info.renderPass = pass;
    info.framebuffer = framebuffer;
    info.renderArea.extent = {width, height};
    info.clearValueCount = key.num_colors + (key.depth.format ? 1 : 0);
    info.pClearValues = clears;
    context->notifyPass(VKContext::EventPass);
    adapter->vkCmdBeginRenderPass(context->getCommand(), &info, contents);
    has_pass = true;
    pass_contents = contents;
    if(contents == VK_SUBPASS_CONTENTS_INLINE) context->notifyPass(VKContext::EventBegin);
    return true;
}

void VKTarget::end_pass() {
    context->notifyPass(VKContext::EventPass);
    adapter->vkCmdEndRenderPass(context->getCommand());
    has_pass = false;
    context->notifyPass(VKContext::EventBegin);
}

VkCommandBuffer VKTarget::getCommand(VKContext *context) {
    if(VKTarget *target = context->getTarget()) target->beginPass(VK_SUBPASS_CONTENTS_INLINE);
    return context->getCommand();
}

bool VKTarget::end_target(Fence *fence) {
    beginPass(has_pass ? pass_contents : VK_SUBPASS_CONTENTS_INLINE);
    end_pass();
    context->setTarget(nullptr);
    if(fence == nullptr || cast<VKFence>(fence)->signal(context)) return true;
    Log::printf(Log::Error, "VKTarget::end(): can't signal fence\n");
    return false;
}

bool VKTarget::isAttached(const Texture *texture, const Slice &slice) const {
    const auto overlap = [](uint32_t begin_0, uint32_t num_0, uint32_t begin_1, uint32_t num_1) {
        return begin_0 < begin_1 + num_1 && begin_1 < begin_0 + num_0;
    };
    if(surface) return false;
    for(const Attachment &attachment : attachments) {
        const Slice &s = attachment.slice;
        if(attachment.texture == texture && overlap(s.face, s.faces, slice.face, slice.faces) &&
           overlap(s.layer, s.layers, slice.layer, slice.layers) &&
           overlap(s.mipmap, s.mipmaps, slice.mipmap, slice.mipmaps))
            return true;
    }
    return false;
}

} // namespace Kolm
