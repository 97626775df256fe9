// KolmTextureCheck.cpp: the rules of textures. Ranges are compared with what is left, never added first.

#include "KolmTexture.h"

#include "KolmLog.h"

namespace Kolm {

namespace {

bool is_inside(uint32_t total, uint32_t base, uint32_t size) { return base < total && size && size <= total - base; }

// End of a range for messages: a sum past the top shows as the top.
uint32_t get_end(uint32_t base, uint32_t size) { return (size > UINT32_MAX - base) ? UINT32_MAX : base + size; }

Origin get_origin(const Origin &origin, uint32_t shift) {
    return Origin(origin.x >> shift, origin.y >> shift, origin.z >> shift);
}

Size get_size(const Size &size, uint32_t shift) {
    return Size(max(size.width >> shift, 1u), max(size.height >> shift, 1u), max(size.depth >> shift, 1u));
}

Size get_blocks(const Size &size, Format format) {
    const uint32_t width = getFormatBlockWidth(format), height = getFormatBlockHeight(format);
    return Size(size.width / width + (size.width % width != 0), size.height / height + (size.height % height != 0),
                size.depth);
}

// One memory layout, or a block against a pixel of its size.
bool is_compatible(Format a, Format b) {
    if(isSameFormats(a, b)) return true;
    if(isBlockFormat(a) == isBlockFormat(b)) return false;
    if(isBlockFormat(b)) swap(a, b);
    return (isPlainFormat(b) && !isDepthFormat(b) && getFormatBlockSize(a) == getFormatPixelSize(b));
}

bool is_fitting(const Slice &dest, const Slice &src) {
    return src.faces <= dest.faces && src.layers <= dest.layers && src.mipmaps <= dest.mipmaps;
}

bool is_overlapping(uint32_t a, uint32_t b, uint32_t size) { return a < b + size && b < a + size; }

template<class Type> const char *get_text(String &text, const Type &object) {
    text = object.getDescription();
    return text.get();
}

} // namespace

// places

bool Texture::check(const Origin &origin, uint32_t mipmap) const {
    KOLM_ASSERT(isCreated() && "Texture::check(): texture is not created");
    KOLM_ASSERT((is2DType() || is3DType() || isCubeType()) && "Texture::check(): unknown texture type");
    if(mipmap >= texture_mipmaps) {
        Log::printf(Log::Error, "Texture::check(): invalid mipmap %u for texture with %u mipmaps\n", mipmap,
                    texture_mipmaps);
        return false;
    }
    const Size size = getSize(mipmap);
    if(size.inside(origin)) return true;
    if(is3DType()) {
        Log::printf(Log::Error, "Texture::check(): invalid origin %ux%ux%u for %ux%ux%u texture\n", origin.x, origin.y,
                    origin.z, size.width, size.height, size.depth);
    } else {
        Log::printf(Log::Error, "Texture::check(): invalid origin %ux%u for %ux%u texture\n", origin.x, origin.y,
                    size.width, size.height);
    }
    return false;
}

bool Texture::check(const Region &region, uint32_t mipmap) const {
    KOLM_ASSERT(isCreated() && "Texture::check(): texture is not created");
    KOLM_ASSERT((is2DType() || is3DType() || isCubeType()) && "Texture::check(): unknown texture type");
    if(mipmap >= texture_mipmaps) {
        Log::printf(Log::Error, "Texture::check(): invalid mipmap %u for texture with %u mipmaps\n", mipmap,
                    texture_mipmaps);
        return false;
    }
    const Size size = getSize(mipmap);
    if(size.inside(region) && region.width && region.height && region.depth) return true;
    if(is3DType()) {
        Log::printf(Log::Error, "Texture::check(): invalid region %ux%ux%u %ux%ux%u for %ux%ux%u texture\n", region.x,
                    region.y, region.z, region.width, region.height, region.depth, size.width, size.height, size.depth);
    } else {
        Log::printf(Log::Error, "Texture::check(): invalid region %ux%u %ux%u for %ux%u texture\n", region.x, region.y,
                    region.width, region.height, size.width, size.height);
    }
    return false;
}

bool Texture::check(const Slice &slice) const {
    KOLM_ASSERT(isCreated() && "Texture::check(): texture is not created");
    const struct {
        const char *name;
        uint32_t base, size, total;
    } rows[] = {
        {"faces", slice.face, slice.faces, texture_faces},
        {"layers", slice.layer, slice.layers, texture_layers},
        {"mipmaps", slice.mipmap, slice.mipmaps, texture_mipmaps},
    };
    for(const auto &row : rows) {
        if(is_inside(row.total, row.base, row.size)) continue;
        Log::printf(Log::Error, "Texture::check(): invalid %s %u-%u for texture with %u %s\n", row.name, row.base,
                    get_end(row.base, row.size), row.total, row.name);
        return false;
    }
    return true;
}

// Whether pixels of \p format lie inside a level. Blocks begin at blocks, and end there or at the level's edge; where
// one side alone is made of blocks, the other counts them.
bool Texture::check_area(const Origin &origin, const Size &size, Format format, uint32_t mipmap) const {
    const Size total = getSize(mipmap);
    if(!isBlockFormat())
        return total.inside(Region(origin, Kolm::isBlockFormat(format) ? get_blocks(size, format) : size));

    const uint32_t width = getBlockWidth(), height = getBlockHeight();
    if(origin.x % width || origin.y % height) return false;
    if(!Kolm::isBlockFormat(format)) {
        const Origin block(origin.x / width, origin.y / height, origin.z);
        return get_blocks(total, texture_format).inside(Region(block, size));
    }
    if(!total.inside(Region(origin, size))) return false;
    return (size.width % width == 0 || size.width == total.width - origin.x) &&
           (size.height % height == 0 || size.height == total.height - origin.y);
}

// The same for all levels of a transfer.
bool Texture::check_areas(const Origin &origin, const Slice &slice, const Image &image,
                          const Slice &image_slice) const {
    for(uint32_t i = 0; i < image_slice.mipmaps; i++) {
        const Size size = image.getSize(image_slice.mipmap + i);
        if(!check_area(get_origin(origin, i), size, image.getFormat(), slice.mipmap + i)) return false;
    }
    return true;
}

// operations

bool Texture::check_set(const Origin &origin, const Slice &dest_slice, const Image &image,
                        const Slice &image_slice) const {
    KOLM_ASSERT(isCreated() && "Texture::set(): texture is not created");
    if(!image.isAllocated()) {
        Log::print(Log::Error, "Texture::set(): image is not allocated\n");
        return false;
    }
    if(hasMultisample()) {
        Log::print(Log::Error, "Texture::set(): can't set multisample texture\n");
        return false;
    }
    if(is_compatible(texture_format, image.getFormat()) && check(dest_slice) && image.check(image_slice) &&
       is_fitting(dest_slice, image_slice) && check_areas(origin, dest_slice, image, image_slice))
        return true;
    String image_text, text;
    Log::printf(Log::Error, "Texture::set(): can't set %s image into %s texture\n", get_text(image_text, image),
                get_text(text, *this));
    return false;
}

bool Texture::check_get(const Slice &slice, const Image &image, const Slice &image_slice) const {
    KOLM_ASSERT(isCreated() && "Texture::get(): texture is not created");
    if(!image.isAllocated()) {
        Log::print(Log::Error, "Texture::get(): image is not allocated\n");
        return false;
    }
    if(hasMultisample()) {
        Log::print(Log::Error, "Texture::get(): can't get multisample texture\n");
        return false;
    }
    if(is_compatible(texture_format, image.getFormat()) && check(slice) && image.check(image_slice) &&
       is_fitting(slice, image_slice) && check_areas(Origin(), slice, image, image_slice))
        return true;
    String image_text, text;
    Log::printf(Log::Error, "Texture::get(): can't get %s image from %s texture\n", get_text(image_text, image),
                get_text(text, *this));
    return false;
}

bool Texture::check_copy(const Origin &origin, const Slice &dest_slice, const Texture *src, const Region &region,
                         const Slice &src_slice) const {
    KOLM_ASSERT(isCreated() && "Texture::copy(): dest texture is not created");
    KOLM_ASSERT(src && src->isCreated() && "Texture::copy(): src texture is not created");
    KOLM_ASSERT(src->hasFlag(FlagSource) && "Texture::copy(): texture has not source flag");
    bool status = is_compatible(texture_format, src->texture_format) && getMultisample() == src->getMultisample() &&
                  check(dest_slice) && src->check(src_slice) && is_fitting(dest_slice, src_slice) &&
                  check(origin, dest_slice.mipmap) && src->check(region, src_slice.mipmap);
    for(uint32_t i = 0; i < src_slice.mipmaps && status; i++) {
        const Origin src_origin = get_origin(region.getOrigin(), i);
        const Size size = get_size(region.getSize(), i);
        status = src->check_area(src_origin, size, src->texture_format, src_slice.mipmap + i) &&
                 check_area(get_origin(origin, i), size, src->texture_format, dest_slice.mipmap + i);
    }
    // Pixels that a copy within one texture reads and writes at once.
    if(status && src == this && is_overlapping(dest_slice.face, src_slice.face, src_slice.faces) &&
       is_overlapping(dest_slice.layer, src_slice.layer, src_slice.layers) &&
       is_overlapping(dest_slice.mipmap, src_slice.mipmap, src_slice.mipmaps)) {
        status = (dest_slice.mipmap == src_slice.mipmap && !(is_overlapping(origin.x, region.x, region.width) &&
                                                             is_overlapping(origin.y, region.y, region.height) &&
                                                             is_overlapping(origin.z, region.z, region.depth)));
    }
    if(status) return true;
    String src_text, text;
    Log::printf(Log::Error, "Texture::copy(): can't copy %s texture into %s\n", get_text(src_text, *src),
                get_text(text, *this));
    return false;
}

bool Texture::check_clear(const Region &region, const Slice &slice) const {
    KOLM_ASSERT(isCreated() && "Texture::clear(): texture is not created");
    bool status = check(slice) && check(region, slice.mipmap);
    for(uint32_t i = 1; i < slice.mipmaps && status; i++) {
        status =
            getSize(slice.mipmap + i).inside(Region(get_origin(region.getOrigin(), i), get_size(region.getSize(), i)));
    }
    if(status) return true;
    Log::printf(Log::Error, "Texture::clear(): can't clear %s texture\n", getDescription().get());
    return false;
}

bool Texture::check_bind(const Region *regions, uint32_t num_regions, const Slice *slices, uint32_t num_slices) const {
    KOLM_ASSERT(isCreated() && "Texture::bind(): texture is not created");
    if(!hasFlag(FlagSparse)) {
        Log::print(Log::Error, "Texture::bind(): can't bind non-sparse texture\n");
        return false;
    }
    if(num_regions == 0 || num_slices == 0 || (num_regions > 1 && num_slices > 1 && num_regions != num_slices)) {
        Log::printf(Log::Error, "Texture::bind(): invalid number of regions and slices %u %u\n", num_regions,
                    num_slices);
        return false;
    }
    const Size tile(texture_tile_width, texture_tile_height, is3DType() ? texture_tile_depth : 1u);
    if(tile.width == 0 || tile.height == 0 || tile.depth == 0) {
        if(is3DType()) {
            Log::printf(Log::Error, "Texture::bind(): invalid tile size %ux%ux%u\n", tile.width, tile.height,
                        tile.depth);
        } else {
            Log::printf(Log::Error, "Texture::bind(): invalid tile size %ux%u\n", tile.width, tile.height);
        }
        return false;
    }

    const auto is_whole = [](uint32_t size, uint32_t part) { return (size <= part || size % part == 0); };
    for(uint32_t i = 0; i < max(num_regions, num_slices); i++) {
        const Region &region = regions[min(i, num_regions - 1)];
        const Slice &slice = slices[min(i, num_slices - 1)];
        if(!check(slice) || !check(region, slice.mipmap)) {
            Log::printf(Log::Error, "Texture::bind(): can't bind %s texture\n", getDescription().get());
            return false;
        }
        if(region.x % tile.width || region.y % tile.height || region.z % tile.depth) {
            if(is3DType()) {
                Log::printf(Log::Error, "Texture::bind(): invalid origin %ux%ux%u for %ux%ux%u tile\n", region.x,
                            region.y, region.z, tile.width, tile.height, tile.depth);
            } else {
                Log::printf(Log::Error, "Texture::bind(): invalid origin %ux%u for %ux%u tile\n", region.x, region.y,
                            tile.width, tile.height);
            }
            return false;
        }
        if(!is_whole(region.width, tile.width) || !is_whole(region.height, tile.height) ||
           !is_whole(region.depth, tile.depth)) {
            if(is3DType()) {
                Log::printf(Log::Error, "Texture::bind(): invalid size %ux%ux%u for %ux%ux%u tile\n", region.width,
                            region.height, region.depth, tile.width, tile.height, tile.depth);
            } else {
                Log::printf(Log::Error, "Texture::bind(): invalid size %ux%u for %ux%u tile\n", region.width,
                            region.height, tile.width, tile.height);
            }
            return false;
        }
    }
    return true;
}

bool Texture::check_mipmaps(const Slice &slice) const {
    KOLM_ASSERT(isCreated() && "Texture::createMipmaps(): texture is not created");
    if(!hasMultisample() && !isBlockFormat() && check(slice)) return true;
    Log::printf(Log::Error, "Texture::createMipmaps(): can't create mipmaps for %s texture\n", getDescription().get());
    return false;
}

} // namespace Kolm
