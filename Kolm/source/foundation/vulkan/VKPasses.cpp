#include "VKPasses.h"

#include "KolmLog.h"

namespace Kolm {

VKPasses &VKPasses::get(uint32_t adapter_index) {
    static VKPasses passes[VK::MaxAdapters];
    KOLM_ASSERT(adapter_index < VK::MaxAdapters && "VKPasses::get(): invalid adapter index");
    return passes[adapter_index];
}

void VKPasses::release(VKContext *context) {
    if(--counter) return;
    AtomicLock atomic(lock);
    if(counter) return;
    passes.clear([&](VkRenderPass pass) { context->releaseRenderPass(pass); });
}

uint32_t VKPasses::Key::getHash() const {
    uint32_t hash = num_colors + samples * 131;
    const auto append = [&hash](const Attachment &attachment) {
        for(const uint32_t value : {uint32_t(attachment.format), uint32_t(attachment.operation),
                                    uint32_t(attachment.layout), uint32_t(attachment.resolve_layout)})
            hash = value + hash * 131;
    };
    for(uint32_t i = 0; i < num_colors; i++) append(colors[i]);
    append(depth);
    return hash;
}

namespace {

VkAttachmentLoadOp get_load_op(Target::Operation operation) {
    if(operation & Target::BeginClear) return VK_ATTACHMENT_LOAD_OP_CLEAR;
    return (operation & Target::BeginLoad) ? VK_ATTACHMENT_LOAD_OP_LOAD : VK_ATTACHMENT_LOAD_OP_DONT_CARE;
}

// The attachments of a pass with the references of its one subpass.
struct Description {
    static constexpr uint32_t MaxAttachments = Target::NumTargets * 2 + 2;

    VkAttachmentDescription2 attachments[MaxAttachments];
    uint32_t num_attachments = 0;
    VkAttachmentReference2 colors[Target::NumTargets];
    VkAttachmentReference2 resolves[Target::NumTargets];
    VkAttachmentReference2 depth;
    VkAttachmentReference2 depth_resolve;

    static VkAttachmentReference2 get_reference(uint32_t index, VkImageLayout layout) {
        auto reference = vk_record<VkAttachmentReference2>(VK_STRUCTURE_TYPE_ATTACHMENT_REFERENCE_2);
        reference.attachment = index;
        reference.layout = layout;
        return reference;
    }
    VkAttachmentReference2 append(VkFormat format, uint32_t samples, VkAttachmentLoadOp load, bool store,
                                  VkImageLayout outside, VkImageLayout inside) {
        VkAttachmentDescription2 &attachment = attachments[num_attachments];
        attachment = vk_record<VkAttachmentDescription2>(VK_STRUCTURE_TYPE_ATTACHMENT_DESCRIPTION_2);
        attachment.format = format;
        attachment.samples = VkSampleCountFlagBits(samples);
        attachment.loadOp = attachment.stencilLoadOp = load;
        attachment.storeOp = attachment.stencilStoreOp =
            store ? VK_ATTACHMENT_STORE_OP_STORE : VK_ATTACHMENT_STORE_OP_DONT_CARE;
        attachment.initialLayout = (load == VK_ATTACHMENT_LOAD_OP_LOAD) ? outside : VK_IMAGE_LAYOUT_UNDEFINED;
        attachment.finalLayout = outside;
        return get_reference(num_attachments++, inside);
    }
};

// Whether a format has depth, and whether it has stencil.
bool has_depth(VkFormat format) { return format != VK_FORMAT_S8_UINT; }
bool has_stencil(VkFormat format) {
    return format == VK_FORMAT_S8_UINT || format == VK_FORMAT_D16_UNORM_S8_UINT ||
           format == VK_FORMAT_D24_UNORM_S8_UINT || format == VK_FORMAT_D32_SFLOAT_S8_UINT;
}

// The same with the records of Vulkan 1.0. The chain of the subpass, which has a use for depth that is resolved, has no
// place there.
VkRenderPass create_first_pass(const VKAdapter *adapter, const VkRenderPassCreateInfo2 &info2) {
    VkAttachmentDescription attachments[Description::MaxAttachments];
    for(uint32_t i = 0; i < info2.attachmentCount; i++) {
        const VkAttachmentDescription2 &src = info2.pAttachments[i];
        attachments[i] = {src.flags,         src.format,         src.samples,       src.loadOp,     src.storeOp,
                          src.stencilLoadOp, src.stencilStoreOp, src.initialLayout, src.finalLayout};
    }
    const VkSubpassDescription2 &subpass2 = info2.pSubpasses[0];
    VkAttachmentReference references[Target::NumTargets * 2 + 1];
    uint32_t num_references = 0;
    const auto convert = [&](const VkAttachmentReference2 *src, uint32_t num) -> const VkAttachmentReference * {
        const VkAttachmentReference *first = references + num_references;
        for(uint32_t i = 0; src && i < num; i++) references[num_references++] = {src[i].attachment, src[i].layout};
        return src ? first : nullptr;
    };
    VkSubpassDescription subpass = {};
    subpass.pipelineBindPoint = subpass2.pipelineBindPoint;
    subpass.colorAttachmentCount = subpass2.colorAttachmentCount;
    subpass.pColorAttachments = convert(subpass2.pColorAttachments, subpass2.colorAttachmentCount);
    subpass.pResolveAttachments = convert(subpass2.pResolveAttachments, subpass2.colorAttachmentCount);
    subpass.pDepthStencilAttachment = convert(subpass2.pDepthStencilAttachment, 1);
    VkSubpassDependency dependencies[2];
    for(uint32_t i = 0; i < info2.dependencyCount; i++) {
        const VkSubpassDependency2 &src = info2.pDependencies[i];
        dependencies[i] = {src.srcSubpass,    src.dstSubpass,    src.srcStageMask,   src.dstStageMask,
                           src.srcAccessMask, src.dstAccessMask, src.dependencyFlags};
    }
    auto info = vk_record<VkRenderPassCreateInfo>(VK_STRUCTURE_TYPE_RENDER_PASS_CREATE_INFO);
    info.attachmentCount = info2.attachmentCount;
    info.pAttachments = attachments;
    info.subpassCount = 1;
    info.pSubpasses = &subpass;
    info.dependencyCount = info2.dependencyCount;
    info.pDependencies = dependencies;
    VkRenderPass pass = VK_NULL_HANDLE;
    return VK::error(vkCreateRenderPass(adapter->getDevice(), &info, nullptr, &pass)) ? VkRenderPass(VK_NULL_HANDLE)
                                                                                      : pass;
}

VkRenderPass create_pass(const VKAdapter *adapter, const VKPasses::Key &key) {
    constexpr VkImageLayout color_layout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
    constexpr VkImageLayout depth_layout = VK_IMAGE_LAYOUT_DEPTH_STENCIL_ATTACHMENT_OPTIMAL;
    Description description;
    bool has_resolve = false;
    for(uint32_t i = 0; i < key.num_colors; i++) {
        const VKPasses::Attachment &color = key.colors[i];
        description.colors[i] = description.append(color.format, key.samples, get_load_op(color.operation),
                                                   color.isStored(), color.layout, color_layout);
        description.resolves[i] = Description::get_reference(VK_ATTACHMENT_UNUSED, VK_IMAGE_LAYOUT_UNDEFINED);
    }
    if(key.depth.format) {
        description.depth = description.append(key.depth.format, key.samples, get_load_op(key.depth.operation),
                                               key.depth.isStored(), key.depth.layout, depth_layout);
    }
    for(uint32_t i = 0; i < key.num_colors; i++) {
        const VKPasses::Attachment &color = key.colors[i];
        if(!color.isResolved()) continue;
        description.resolves[i] = description.append(color.format, 1, VK_ATTACHMENT_LOAD_OP_DONT_CARE, true,
                                                     color.resolve_layout, color_layout);
        has_resolve = true;
    }
    auto subpass = vk_record<VkSubpassDescription2>(VK_STRUCTURE_TYPE_SUBPASS_DESCRIPTION_2);
    subpass.pipelineBindPoint = VK_PIPELINE_BIND_POINT_GRAPHICS;
    subpass.colorAttachmentCount = key.num_colors;
    subpass.pColorAttachments = description.colors;
    if(has_resolve) subpass.pResolveAttachments = description.resolves;
    if(key.depth.format) subpass.pDepthStencilAttachment = &description.depth;
    auto resolve =
        vk_record<VkSubpassDescriptionDepthStencilResolve>(VK_STRUCTURE_TYPE_SUBPASS_DESCRIPTION_DEPTH_STENCIL_RESOLVE);
    if(key.depth.format && key.depth.isResolved()) {
        if(!adapter->has_depth_stencil_resolve || !adapter->has_create_renderpass2) {
            Log::printf(Log::Error, "VKPasses::getPass(): depth can't be resolved by this device\n");
            return VK_NULL_HANDLE;
        }
        // The one mode that all devices have.
        description.depth_resolve = description.append(key.depth.format, 1, VK_ATTACHMENT_LOAD_OP_DONT_CARE, true,
                                                       key.depth.resolve_layout, depth_layout);
        if(has_depth(key.depth.format)) resolve.depthResolveMode = VK_RESOLVE_MODE_SAMPLE_ZERO_BIT;
        if(has_stencil(key.depth.format)) resolve.stencilResolveMode = VK_RESOLVE_MODE_SAMPLE_ZERO_BIT;
        resolve.pDepthStencilResolveAttachment = &description.depth_resolve;
        subpass.pNext = &resolve;
    }

    VkSubpassDependency2 dependencies[2];
    for(uint32_t i = 0; i < 2; i++) {
        VkSubpassDependency2 &dependency = dependencies[i];
        dependency = vk_record<VkSubpassDependency2>(VK_STRUCTURE_TYPE_SUBPASS_DEPENDENCY_2);
        dependency.srcSubpass = i ? 0 : VK_SUBPASS_EXTERNAL;
        dependency.dstSubpass = i ? VK_SUBPASS_EXTERNAL : 0;
        dependency.srcStageMask = i ? VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT : VK_PIPELINE_STAGE_ALL_COMMANDS_BIT;
        dependency.dstStageMask = i ? VK_PIPELINE_STAGE_ALL_COMMANDS_BIT : VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT;
        dependency.srcAccessMask = VK_ACCESS_MEMORY_WRITE_BIT;
        dependency.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
    }
    auto info = vk_record<VkRenderPassCreateInfo2>(VK_STRUCTURE_TYPE_RENDER_PASS_CREATE_INFO_2);
    info.attachmentCount = description.num_attachments;
    info.pAttachments = description.attachments;
    info.subpassCount = 1;
    info.pSubpasses = &subpass;
    info.dependencyCount = 2;
    info.pDependencies = dependencies;
    if(!adapter->has_create_renderpass2) return create_first_pass(adapter, info);
    VkRenderPass pass = VK_NULL_HANDLE;
    return VK::error(adapter->vkCreateRenderPass2(adapter->getDevice(), &info, nullptr, &pass))
               ? VkRenderPass(VK_NULL_HANDLE)
               : pass;
}

} // namespace

VkRenderPass VKPasses::getPass(const VKAdapter *adapter, const Key &key) {
    return passes.get(key, [&]() { return create_pass(adapter, key); });
}

} // namespace Kolm
