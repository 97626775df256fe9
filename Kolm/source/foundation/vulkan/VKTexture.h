// VKTexture.h: a texture on Vulkan: image, memory, views, and the layout that barriers start from.
// Rests on VKContext. The rules of every operation are those of Texture.
//
//     VKTexture.cpp          image, memory, views, layouts
//     VKTextureTransfer.cpp  uploads and read-back
//     VKTextureCopy.cpp      copies, fills and mipmaps on the device
//     VKTextureSparse.cpp    memory of sparse textures

#pragma once

#include "KolmTexture.h"

#include "VKShared.h"
#include "VKSparse.h"

namespace Kolm {

/// Takes memory and deferred release from the context of the device that made it, which outlives it.
///
/// One layout holds for the whole image. Every operation leaves it readable: in getReadLayout(), since a render pass
/// that samples the texture can't change it.
class VKTexture : public Texture {
public:
    /// What a view serves.
    enum ViewType {
        ViewTexture = 0, ///< shaders sample it: cubes as cubes, depth without stencil
        ViewSurface,     ///< shaders read and write its pixels
        ViewTarget,      ///< attachment: faces, and slices of 3D textures, as layers; depth with stencil
        NumViewTypes
    };

    explicit VKTexture(VKContext *context);
    ~VKTexture() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return texture != VK_NULL_HANDLE; }
    void setName(const char *name) override;
    /// Bytes of device memory; of a sparse texture those that are bound.
    size_t getMemory() const override;

    using Texture::create;
    bool create(Type type, Format format, const Size &size, uint32_t layers, Flags flags) override;
    /// Wraps an image of the caller, who destroys it. It was made with the usages that \p flags ask for, and is in
    /// \p layout.
    bool create(Type type, Format format, const Size &size, uint32_t layers, Flags flags, VkImage image,
                VkImageLayout layout);
    /// Second texture on the memory of a Shared or Interop texture, which may belong to another adapter.
    bool create(Texture *texture) override;

    // Recorded on \p context, which is the device's or a sub-device's. Each logs why and returns false.
    bool set(VKContext *context, const Origin &origin, const Slice &dest_slice, const Image &image,
             const Slice &image_slice);
    /// Submits and waits.
    bool get(VKContext *context, const Slice &slice, Image &image, const Slice &image_slice);
    bool copy(VKContext *context, const Origin &origin, const Slice &dest_slice, VKTexture *src, const Region &region,
              const Slice &src_slice);
    bool clear(VKContext *context, const Region &region, const Slice &slice, const void *value);
    bool createMipmaps(VKContext *context, const Slice &slice);
    /// Gives memory to tiles that have none, or takes it from tiles that have some. What is recorded later sees it.
    bool bind(VKContext *context, const Region *regions, uint32_t num_regions, const Slice *slices, uint32_t num_slices,
              bool bind);

    VkImage getImage() const { return texture; }
    VkFormat getPixelFormat() const { return pixel_format; }
    VkImageAspectFlags getAspectMask() const { return getAspectMask(texture_format); }
    static VkImageAspectFlags getAspectMask(Format format);
    const VK::MemoryPtr &getTextureMemory() const { return texture_memory; }
    /// File descriptor of an Interop texture's memory, which stays the texture's; -1 for others.
    int32_t getInteropHandle() const { return texture_shared.getHandle(); }
    /// Another number for every image that was ever created: tells whether an object was created anew.
    uint64_t getImageID() const { return image_id; }

    /// View of the whole texture for sampling; null for formats and usages that can't be sampled.
    VkImageView getTextureView() const { return texture_view; }
    /// View of a part, which lives as long as the image. The type follows the slice: several layers make an array, all
    /// six faces a cube; fewer faces count as layers. \p format is another format of the same pixel size, for Mutable
    /// textures. Null and one line on failure. May be called from several threads.
    VkImageView getTextureView(const Slice &slice, Format format = FormatUnknown, ViewType type = ViewTexture);

    /// Remembers a use by commands of \p context, null for any. Several threads may tell so at the same time.
    void setUsed(const VKContext *ctx) {
        if(ctx != context && !used_outside.load_relaxed()) used_outside.store_relaxed(1);
    }

    /// Whether the host copies to and from the image where it can, without transient memory.
    bool hasHostCopies() const { return has_host_copies; }

    VkImageLayout getTextureLayout() const { return texture_layout; }
    /// Layout in which shaders sample the texture, and in which every operation leaves it: GENERAL for textures that
    /// shaders may write, SHADER_READ_ONLY for others.
    VkImageLayout getReadLayout() const {
        return hasFlag(FlagSurface | FlagWrite) ? VK_IMAGE_LAYOUT_GENERAL : VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL;
    }

    /// Records a barrier from the last layout and access to the next ones if they differ or with \p force, and
    /// remembers them. \p access 0 stands for all that the layout is for, \p stages 0 for all that do the access.
    void setTextureLayout(VKContext *context, VkImageLayout layout, bool force = false, VkAccessFlags access = 0,
                          VkPipelineStageFlags stages = 0);
    /// The same into a batch.
    void setTextureLayout(VKContext::Barriers &barriers, VKContext *context, VkImageLayout layout, bool force = false,
                          VkAccessFlags access = 0, VkPipelineStageFlags stages = 0);
    /// Remembers a layout that was reached by other means: a render pass, or commands of the application.
    void setTextureLayout(VkImageLayout layout, VkAccessFlags access = 0, VkPipelineStageFlags stages = 0);
    /// What a layout is for. GENERAL is for shaders and transfers.
    static VkAccessFlags getLayoutAccess(VkImageLayout layout);
    /// What the format of any texture has to be good for.
    static constexpr VkFormatFeatureFlags sampled_features =
        VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT | VK_FORMAT_FEATURE_TRANSFER_SRC_BIT | VK_FORMAT_FEATURE_TRANSFER_DST_BIT;

private:
    static constexpr uint32_t MaxFillSize = 1u << 20; // bytes of the pixels that fills copy

    VkImageUsageFlags get_usage_flags() const;
    VkImageCreateFlags get_create_flags() const;
    VkMemoryPropertyFlags get_memory_properties(uint32_t type_bits) const;
    bool is_supported() const;
    bool create_image(VkExternalMemoryHandleTypeFlags handle_types);
    bool create_memory();
    bool create_tiles();
    bool check_host_copies(const VkImageCreateInfo &info) const;
    bool set_host(VKContext *context, const Origin &origin, const Slice &dest_slice, const Image &image,
                  const Slice &image_slice);
    bool get_host(VKContext *context, const Slice &slice, Image &image, const Slice &image_slice);
    bool create_objects();
    VkImageView create_view(const Slice &slice, Format format, ViewType type);
    void copy_within(VKContext *context, const Array<VkImageCopy> &copies, const Slice &dest_slice,
                     const Slice &src_slice);
    bool fill_region(VKContext *context, const Region &region, const Slice &slice, const uint8_t *value);
    bool bind_tiles(const Region &region, uint32_t layer, uint32_t mipmap, bool bind,
                    Array<VkSparseImageMemoryBind> &binds);
    bool bind_tail(uint32_t layer, bool bind, Array<VkSparseMemoryBind> &binds);
    void destroy();

    uint32_t get_layer(uint32_t face, uint32_t layer) const { return layer * texture_faces + face; }
    VkImageSubresourceRange get_full_range() const;

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VkFormat pixel_format = VK_FORMAT_UNDEFINED;
    VkImage texture = VK_NULL_HANDLE;
    VkImageView texture_view = VK_NULL_HANDLE;
    uint64_t image_id = 0;
    // The last layout and access, from which the next barrier starts. A sub-device may read what another thread wrote;
    // nothing orders them but the application.
    volatile VkImageLayout texture_layout = VK_IMAGE_LAYOUT_UNDEFINED;
    volatile VkAccessFlags texture_access = 0;
    volatile VkPipelineStageFlags texture_stages = 0;
    const VKContext *volatile texture_context = nullptr; // where, null for a place outside
    bool has_host_copies = false;                        // the image is made for them
    Atomici32 used_outside; // 1: by contexts other than its own, or by commands of the application
    SpinLock view_lock;
    Map<uint64_t, VkImageView> texture_views; // by slice, format and type
    VK::MemoryPtr texture_memory;
    VKShared texture_shared;
    VKSparse texture_tiles;
    VkMemoryRequirements tile_memory = {}; // of one tile
    VkSparseImageMemoryRequirements tile_tail = {};
};

} // namespace Kolm
