// Registry of the block coders and the walk over rows of blocks.

#include "KolmImageCoder.h"

#include "KolmArray.h"
#include "KolmAsync.h"
#include "KolmCoderKernels.h"
#include "KolmLog.h"

namespace Kolm {

// Static coders of other files fill the map before or after this file's own statics would be made.
Map<uint32_t, ImageCoder *> &ImageCoder::get_coders() {
    static Map<uint32_t, ImageCoder *> image_coder_formats;
    return image_coder_formats;
}

ImageCoder::ImageCoder(Flags flags, Format begin, Format back) : flags(flags) {
    for(uint32_t i = begin; i <= back; i++) get_coders().append(i, this);
}
ImageCoder::~ImageCoder() = default;

bool ImageCoder::check(Format format) { return get_coders().get(uint32_t(format)) != nullptr; }

ImageCoder *ImageCoder::get(Format format) {
    ImageCoder **coder = get_coders().get(uint32_t(format));
    if(coder) return *coder;
    const char *name = (format < NumFormats) ? Kolm::getFormatName(format) : Kolm::getFormatName(FormatUnknown);
    Log::printf(Log::Error, "ImageCoder::get(): can't find %s image format\n", name);
    return nullptr;
}

String ImageCoder::get_formats(Flags flags) {
    String ret;
    for(auto it = get_coders().begin(); it; ++it) {
        if((it->data->flags & flags) == 0) continue;
        if(!ret.empty()) ret += " ";
        ret += Kolm::getFormatName(Format(it->key));
    }
    return ret;
}

bool ImageCoder::create(Image &ret, const Image &image, Format format) {
    const Image::Flags flags = image.hasMipmaps() ? Image::FlagMipmaps : Image::FlagNone;
    return ret.create(image.getType(), format, image.getSize(), image.getLayers(), flags | Image::FlagNoClear);
}

const Image *ImageCoder::get_pixels(Format format, const Image &image, Image &converted, Async *async) {
    const Format pixel_format = toPixelFormat(format);
    if(image.getFormat() == pixel_format) return &image;
    converted = image.toFormat(pixel_format, Image::FlagNone, async);
    return converted.isAllocated() ? &converted : nullptr;
}

uint32_t ImageCoder::get_flags(Image::Flags flags) {
    uint32_t ret = CoderNone;
    if(flags & Image::FlagFast)
        ret |= CoderFast;
    else if(flags & Image::FlagBest)
        ret |= CoderBest;
    if(flags & Image::FlagPerceptual) ret |= CoderPerceptual;
    return ret;
}

namespace {

// The rows of blocks of an image, counted through all levels of a face and all faces.
class RowWalk {
public:
    RowWalk(const Image &blocks, const Image &pixels, uint32_t block_height)
        : blocks(const_cast<uint8_t *>(blocks.getData())), pixels(const_cast<uint8_t *>(pixels.getData())),
          block_size(blocks.getLayerSize()), pixel_size(pixels.getLayerSize()), block_height(block_height),
          num_levels(blocks.getMipmaps()) {
        KOLM_ASSERT(num_levels <= MaxLevels && "ImageCoder::for_each_row(): invalid mipmaps");
        for(uint32_t m = 0; m < num_levels; m++) {
            Level &level = levels[m];
            level.block_offset = blocks.getOffset(Slice(Mipmap(m)));
            level.pixel_offset = pixels.getOffset(Slice(Mipmap(m)));
            level.block_stride = blocks.getStride(m);
            level.pixel_stride = pixels.getStride(m);
            level.width = blocks.getWidth(m);
            level.height = blocks.getHeight(m);
            level.slice_rows = (level.height + block_height - 1) / block_height;
            level.first = face_rows;
            face_rows += uint64_t(level.slice_rows) * blocks.getDepth(m);
        }
        num_rows = face_rows * blocks.getFaces() * blocks.getLayers();
    }

    uint64_t getNumRows() const { return num_rows; }

    template<class Row, class Func> void run(uint64_t begin, uint64_t end, const Func &func) const {
        for(uint64_t i = begin; i < end; i++) {
            const uint64_t face = i / face_rows;
            const uint64_t row = i % face_rows;
            uint32_t m = num_levels - 1;
            while(levels[m].first > row) m--;
            const Level &level = levels[m];
            const uint64_t z = (row - level.first) / level.slice_rows;
            const uint32_t y = uint32_t((row - level.first) % level.slice_rows) * block_height;
            Row ret;
            ret.blocks = blocks + block_size * face + level.block_offset + level.block_stride * (row - level.first);
            ret.pixels = pixels + pixel_size * face + level.pixel_offset + level.pixel_stride * (z * level.height + y);
            ret.stride = level.pixel_stride;
            ret.width = level.width;
            ret.height = min(level.height - y, block_height);
            func(ret);
        }
    }

private:
    static constexpr uint32_t MaxLevels = 32;
    struct Level {
        size_t block_offset;
        size_t pixel_offset;
        size_t block_stride;
        size_t pixel_stride;
        uint64_t first; // row
        uint32_t width; // pixels
        uint32_t height;
        uint32_t slice_rows; // of blocks
    };
    Level levels[MaxLevels];
    uint8_t *blocks;
    uint8_t *pixels;
    size_t block_size; // of a face with its levels
    size_t pixel_size;
    uint32_t block_height;
    uint32_t num_levels;
    uint64_t face_rows = 0;
    uint64_t num_rows = 0;
};

} // namespace

void ImageCoder::for_each_row(const Image &blocks, const Image &pixels, const RowFunction &func, Async *async) {
    const RowWalk walk(blocks, pixels, blocks.getBlockHeight());
    const uint64_t num_rows = walk.getNumRows();
    uint64_t num_tasks = 1;
    // Several tasks for each worker, since rows differ in effort.
    if(async && async->isInitialized()) num_tasks = min(num_rows, uint64_t(async->getNumThreads()) * 4);
    if(num_tasks <= 1) {
        walk.run<Row>(0, num_rows, func);
        return;
    }
    Array<Async::Task> tasks;
    for(uint64_t i = 0; i < num_tasks; i++) {
        const uint64_t begin = num_rows * i / num_tasks;
        const uint64_t end = num_rows * (i + 1) / num_tasks;
        Async::Task task = async->run([&walk, &func, begin, end]() { walk.run<Row>(begin, end, func); });
        if(task)
            tasks.append(task);
        else
            walk.run<Row>(begin, end, func);
    }
    async->wait(tasks);
}

} // namespace Kolm
