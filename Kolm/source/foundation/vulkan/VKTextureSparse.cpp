// VKTextureSparse.cpp: memory of sparse textures. Levels are bound tile by tile up to the first one that is smaller than
// a tile; from there on they are the tail, which has one piece of memory for each layer, or one for all.

#include "KolmLog.h"
#include "VKTexture.h"

namespace Kolm {

namespace {

constexpr uint64_t tail_page = 1ull << 63; // with the layer in the low bits

// Numbers of the tiles that a part of a level takes: all that it touches if they get memory, and those that it covers
// if they lose it. The last tile of a level ends where the level does.
struct TileRange {
    uint32_t begin, end;
    TileRange(uint32_t offset, uint32_t size, uint32_t total, uint32_t tile, bool touched) {
        const uint32_t last = offset + size;
        begin = touched ? offset / tile : (offset + tile - 1) / tile;
        end = (touched || last == total) ? (last + tile - 1) / tile : last / tile;
    }
};

} // namespace

bool VKTexture::create_tiles() {
    const String description = getDescription();
    vkGetImageMemoryRequirements(adapter->getDevice(), texture, &tile_memory);
    uint32_t num = 0;
    vkGetImageSparseMemoryRequirements(adapter->getDevice(), texture, &num, nullptr);
    Array<VkSparseImageMemoryRequirements> requirements(num);
    vkGetImageSparseMemoryRequirements(adapter->getDevice(), texture, &num, requirements.get());
    // One aspect, and no memory beside that of the pixels: what all colour formats have.
    if(num != 1 || requirements[0].formatProperties.aspectMask != getAspectMask() || tile_memory.alignment == 0) {
        Log::printf(Log::Error, "VKTexture::create(): can't get %s texture properties\n", description.get());
        return false;
    }
    const VkExtent3D &granularity = requirements[0].formatProperties.imageGranularity;
    texture_tile_width = uint16_t(granularity.width);
    texture_tile_height = uint16_t(granularity.height);
    texture_tile_depth = uint16_t(granularity.depth);
    tile_tail = requirements[0];
    texture_tile_mipmaps = texture_mipmaps;
    if(tile_tail.imageMipTailSize)
        texture_tile_mipmaps = min(texture_mipmaps, uint16_t(min(tile_tail.imageMipTailFirstLod, 65535u)));
    tile_memory.size = tile_memory.alignment;
    return true;
}

bool VKTexture::bind_tiles(const Region &region, uint32_t layer, uint32_t mipmap, bool bind,
                           Array<VkSparseImageMemoryBind> &binds) {
    const Size size = getSize(mipmap);
    const TileRange columns(region.x, region.width, size.width, texture_tile_width, bind);
    const TileRange rows(region.y, region.height, size.height, texture_tile_height, bind);
    const TileRange slices(region.z, region.depth, size.depth, texture_tile_depth, bind);
    uint64_t last_page = 0, num_tiles = 0; // of the last record
    for(uint32_t z = slices.begin; z < slices.end; z++) {
        for(uint32_t y = rows.begin; y < rows.end; y++) {
            for(uint32_t x = columns.begin; x < columns.end; x++) {
                // 16 bits of layer, 5 of level, 14 of each direction
                if((x | y | z) >> 14) {
                    const String description = getDescription();
                    Log::printf(Log::Error, "VKTexture::bind(): invalid tile index %u for %s texture\n", x | y | z,
                                description.get());
                    return false;
                }
                const uint64_t page = ((((uint64_t(layer) << 5 | mipmap) << 14 | z) << 14 | y) << 14) | x;
                VK::MemoryPtr memory;
                bool changed = false;
                if(!texture_tiles.change(page, tile_memory, bind, memory, changed)) return false;
                if(!changed) continue;
                // Tiles of a row that lie side by side in memory are one record.
                VkSparseImageMemoryBind *last = (x > columns.begin && binds.size()) ? &binds.back() : nullptr;
                if(last && last_page + 1 == page && last->memory == memory.memory &&
                   (!memory || last->memoryOffset + num_tiles * tile_memory.size == memory.offset)) {
                    last->extent.width = min((x + 1) * texture_tile_width, size.width) - uint32_t(last->offset.x);
                    last_page = page;
                    num_tiles++;
                    continue;
                }
                last_page = page;
                num_tiles = 1;
                VkSparseImageMemoryBind &record = binds.append();
                record = {};
                record.subresource = {getAspectMask(), mipmap, layer};
                const Origin origin(x * texture_tile_width, y * texture_tile_height, z * texture_tile_depth);
                record.offset = {int32_t(origin.x), int32_t(origin.y), int32_t(origin.z)};
                record.extent = {min(uint32_t(texture_tile_width), size.width - origin.x),
                                 min(uint32_t(texture_tile_height), size.height - origin.y),
                                 min(uint32_t(texture_tile_depth), size.depth - origin.z)};
                record.memory = memory.memory;
                record.memoryOffset = memory.offset;
            }
        }
    }
    return true;
}

bool VKTexture::bind_tail(uint32_t layer, bool bind, Array<VkSparseMemoryBind> &binds) {
    const bool single = (tile_tail.formatProperties.flags & VK_SPARSE_IMAGE_FORMAT_SINGLE_MIPTAIL_BIT);
    if(single) layer = 0;
    if(tile_tail.imageMipTailSize == 0 || layer >= uint32_t(texture_faces) * texture_layers) {
        const String description = getDescription();
        Log::printf(Log::Error, "VKTexture::bind(): invalid tail index %u for %s texture\n", layer, description.get());
        return false;
    }
    VkMemoryRequirements requirements = tile_memory;
    requirements.size = tile_tail.imageMipTailSize;
    VK::MemoryPtr memory;
    bool changed = false;
    if(!texture_tiles.change(tail_page | layer, requirements, bind, memory, changed)) return false;
    if(changed) {
        VkSparseMemoryBind &record = binds.append();
        record = {};
        record.resourceOffset = tile_tail.imageMipTailOffset + layer * (single ? 0 : tile_tail.imageMipTailStride);
        record.size = tile_tail.imageMipTailSize;
        record.memory = memory.memory;
        record.memoryOffset = memory.offset;
    }
    return true;
}

bool VKTexture::bind(VKContext *ctx, const Region *regions, uint32_t num_regions, const Slice *slices,
                     uint32_t num_slices, bool bind) {
    if(!check_bind(regions, num_regions, slices, num_slices)) return false;
    Array<VkSparseImageMemoryBind> tile_binds;
    Array<VkSparseMemoryBind> tail_binds;
    bool status = true;
    for(uint32_t i = 0; i < max(num_regions, num_slices); i++) {
        const Region &region = regions[min(i, num_regions - 1)];
        const Slice &slice = slices[min(i, num_slices - 1)];
        for(uint32_t level = 0; level < slice.mipmaps; level++) {
            const uint32_t mipmap = slice.mipmap + level;
            const Region part(region.x >> level, region.y >> level, region.z >> level, max(region.width >> level, 1u),
                              max(region.height >> level, 1u), max(region.depth >> level, 1u));
            const bool is_tail = (mipmap >= texture_tile_mipmaps);
            // A part of a level does not take the tail away from the rest.
            if(is_tail && !bind && part != getRegion(mipmap)) continue;
            for(uint32_t j = 0; j < slice.layers * slice.faces && status; j++) {
                const uint32_t layer = get_layer(slice.face + j % slice.faces, slice.layer + j / slice.faces);
                status =
                    is_tail ? bind_tail(layer, bind, tail_binds) : bind_tiles(part, layer, mipmap, bind, tile_binds);
            }
        }
    }
    if(!status) {
        Log::printf(Log::Error, "VKTexture::bind(): can't bind texture memory\n");
    } else if(tile_binds.size() || tail_binds.size()) {
        const VkSparseImageMemoryBindInfo tiles = {texture, tile_binds.size(), tile_binds.get()};
        const VkSparseImageOpaqueMemoryBindInfo tails = {texture, tail_binds.size(), tail_binds.get()};
        auto info = vk_record<VkBindSparseInfo>(VK_STRUCTURE_TYPE_BIND_SPARSE_INFO);
        if(tile_binds.size()) {
            info.imageBindCount = 1;
            info.pImageBinds = &tiles;
        }
        if(tail_binds.size()) {
            info.imageOpaqueBindCount = 1;
            info.pImageOpaqueBinds = &tails;
        }
        status = ctx->bindSparse(info, !bind);
        if(!status) Log::printf(Log::Error, "VKTexture::bind(): can't bind texture\n");
    }
    texture_tiles.commit(ctx, status);
    return status;
}

} // namespace Kolm
