// Image::toType: cubes as crosses, strips and panoramas.
//
// A panorama shows +z in its middle, +x to the right of it and +y on top. A cross shows the same as faces:
//
//         +y                                +y
//      -x +z +x -z      or standing up   -x +z +x      with -z upside down, so that it joins -y
//         -y                                -y
//                                           -z

#include <math.h>

#include "KolmImage.h"
#include "KolmImageSampler.h"
#include "KolmImageTasks.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

constexpr float64_t pi = 3.14159265358979323846;

// Column and row of each face, in units of its size.
struct Layout {
    uint8_t columns;
    uint8_t rows;
    struct {
        uint8_t x, y;
    } faces[6];
};
constexpr Layout strip_layout = {6, 1, {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}}};
constexpr Layout column_layout = {1, 6, {{0, 0}, {0, 1}, {0, 2}, {0, 3}, {0, 4}, {0, 5}}};
constexpr Layout cross_layout = {4, 3, {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {3, 1}}};
constexpr Layout standing_layout = {3, 4, {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {1, 3}}};
constexpr const Layout *layouts[] = {&strip_layout, &column_layout, &cross_layout, &standing_layout};

bool cube_to_panorama(Image &dst, const Image &src, Async *async) {
    const uint32_t width = dst.getWidth();
    const uint32_t height = dst.getHeight();
    for(uint32_t layer = 0; layer < src.getLayers(); layer++) {
        ImageSampler src_sampler, dst_sampler;
        if(!src_sampler.create(src, Slice(Layer(layer))) || !dst_sampler.create(dst, Slice(Layer(layer)))) return false;
        run_rows(async, height, 8, [&](uint32_t begin, uint32_t end) {
            for(uint32_t y = begin; y < end; y++) {
                const float64_t theta = pi * 0.5 - y * (pi / (height - 1));
                for(uint32_t x = 0; x < width; x++) {
                    const float64_t phi = 2.0 * pi - x * (2.0 * pi / (width - 1));
                    const float64_t r = cos(theta);
                    dst_sampler.set2D(x, y, src_sampler.getCube(r * sin(phi), sin(theta), -r * cos(phi)));
                }
            }
        });
    }
    return true;
}

bool panorama_to_cube(Image &dst, const Image &src, Async *async) {
    const uint32_t size = dst.getWidth();
    const float64_t width = src.getWidth();
    const float64_t height = src.getHeight();
    for(uint32_t layer = 0; layer < src.getLayers(); layer++) {
        ImageSampler src_sampler, samplers[6];
        if(!src_sampler.create(src, Slice(Layer(layer)))) return false;
        for(uint32_t face = 0; face < 6; face++) samplers[face].create(dst, Slice(Face(face), Layer(layer)));
        run_tasks(async, 6, [&](uint32_t face) {
            for(uint32_t j = 0; j < size; j++) {
                for(uint32_t i = 0; i < size; i++) {
                    const float64_t a = (i + 0.5) * 2.0 / size - 1.0;
                    const float64_t b = (j + 0.5) * 2.0 / size - 1.0;
                    const float64_t r = 1.0 / sqrt(1.0 + a * a + b * b);
                    const float64_t directions[6][3] = {{1.0, -b, -a}, {-1.0, -b, a}, {a, 1.0, b},
                                                        {a, -1.0, -b}, {a, -b, 1.0},  {-a, -b, -1.0}};
                    const float64_t *d = directions[face];
                    const float64_t u = (atan2(d[0], d[2]) / (2.0 * pi) + 0.5) * (width - 1.0);
                    const float64_t v = acos(clamp(d[1] * r, -1.0, 1.0)) * (height - 1.0) / pi;
                    samplers[face].set2D(i, j, src_sampler.get2D(u, v));
                }
            }
        });
    }
    return true;
}

// Blocks can't be cut.
bool is_whole(const Image &image, uint32_t size) {
    return !image.isBlockFormat() || (size % image.getBlockWidth() == 0 && size % image.getBlockHeight() == 0);
}

bool cube_to_cross(Image &dst, const Image &src) {
    const uint32_t size = src.getWidth();
    const Layer layers(0, src.getLayers());
    for(uint32_t face = 0; face < 6; face++) {
        const Origin origin(cross_layout.faces[face].x * size, cross_layout.faces[face].y * size);
        if(!dst.copy(src, origin, Region(0, 0, size, size), Slice(layers), Slice(Face(face), layers))) return false;
    }
    return true;
}

bool layout_to_cube(Image &dst, const Image &src, const Layout &layout) {
    const uint32_t size = dst.getWidth();
    const Layer layers(0, src.getLayers());
    for(uint32_t face = 0; face < 6; face++) {
        const Region region(layout.faces[face].x * size, layout.faces[face].y * size, size, size);
        const Slice slice(Face(face), layers);
        if(&layout == &standing_layout && face == 5) {
            const Image turned = src.getRegion(region, Slice(layers)).getRotated(2);
            if(!turned.isAllocated() || !dst.copy(turned, Origin(), slice, Slice(layers))) return false;
        } else if(!dst.copy(src, Origin(), region, slice, Slice(layers))) {
            return false;
        }
    }
    return true;
}

} // namespace

Image Image::toType(Type type, Flags flags, Async *async) const {
    if(isLoaded() && image_type == type) return *this;
    const bool panorama = (flags & FlagPanorama);
    Image ret;
    bool done = false;
    if(isAllocated() && isCubeType() && type == Type2D && image_width == image_height &&
       image_width <= UINT32_MAX / 4) {
        const Size size(image_width * 4, image_width * (panorama ? 2 : 3));
        if(panorama)
            done = ret.create(Type2D, image_format, size, image_layers, FlagNoClear) &&
                   cube_to_panorama(ret, *this, async);
        else
            done = is_whole(*this, image_width) && ret.create(Type2D, image_format, size, image_layers) &&
                   cube_to_cross(ret, *this);
    } else if(isAllocated() && is2DType() && type == TypeCube) {
        if(panorama) {
            const uint32_t size = max(image_width / 4, 1u);
            done = ret.create(TypeCube, image_format, Size(size, size), image_layers, FlagNoClear) &&
                   panorama_to_cube(ret, *this, async);
        } else {
            const Layout *found = nullptr;
            for(const Layout *layout : layouts) {
                if(uint64_t(image_width) * layout->rows == uint64_t(image_height) * layout->columns) found = layout;
            }
            const uint32_t size = found ? image_width / found->columns : 0;
            if(found == nullptr || size == 0 || image_width % found->columns || !is_whole(*this, size)) {
                Log::printf(Log::Error, "Image::toType(): can't convert %s to Cube\n", getDescription().get());
                return Image();
            }
            done = ret.create(TypeCube, image_format, Size(size, size), image_layers, FlagNoClear) &&
                   layout_to_cube(ret, *this, *found);
        }
    }
    if(!done) {
        Log::printf(Log::Error, "Image::toType(): can't convert %s image to %s\n", getDescription().get(),
                    getTypeName(type));
        return Image();
    }
    return ret;
}

} // namespace Kolm
