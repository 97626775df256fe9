// Vulkan's side of a surface.

#pragma once

#include <platform/OstrevanSurface.h>
#include <platform/OstrevanVK.h>

namespace Ostrevan {

/// Surface on Vulkan, through which an application with its own Vulkan loop hands its images and its render pass over.
/// The handles are set before each use; the application owns them.
class OSTREVAN_API VKSurface : public Surface {
    OSTREVAN_HANDLE(VKSurface)
public:
    /// Empty surface, made on first use.
    VKSurface();
    /// Surface with the context's adapter and queue. Expects a context on Vulkan.
    explicit VKSurface(const Context &context);
    /// View of the surface, which does not keep it alive. One of another platform is refused with one line.
    explicit VKSurface(const Surface &surface);

    void setColorImage(VkImage image);
    void setDepthImage(VkImage image);
    void setColorImageView(VkImageView view);
    void setDepthImageView(VkImageView view);
    void setRenderPass(VkRenderPass render_pass);
    void setFramebuffer(VkFramebuffer framebuffer);
    VkImage getColorImage() const;
    VkImage getDepthImage() const;
    VkImageView getColorImageView() const;
    VkImageView getDepthImageView() const;
    VkRenderPass getRenderPass() const;
    VkFramebuffer getFramebuffer() const;

    /// VkFormat of the surface's formats.
    uint32_t getColorPixelFormat() const;
    uint32_t getDepthPixelFormat() const;

    // Expect a surface with a context.
    VkInstance getInstance() const;
    VkPhysicalDevice getAdapter() const;
    VkDevice getDevice() const;
    VkQueue getQueue() const;
    /// Command buffer that is recorded now. Not kept over flush, finish and flip.
    VkCommandBuffer getCommand() const;
    /// Family of the queue.
    uint32_t getFamily() const;
};

} // namespace Ostrevan
