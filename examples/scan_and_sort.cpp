// Prefix sums and a radix sort on the device. The picture has three bands: keys as grey, the same keys sorted, and how
// many of the unsorted ones in front of each pixel are brighter than the middle.

#include "Example.h"

#include <stdlib.h>
#include <string.h>

using namespace Ostrevan;

int main(int argc, char **argv) {
    Example example("scan_and_sort", "Shows keys, the same sorted, and running sums.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    constexpr uint32_t width = 512, band = 128;
    constexpr uint32_t num = width * band;
    PrefixScan scan;
    RadixSort sort;
    if(!scan.create(device, PrefixScan::ModeSingle) || !sort.create(device, RadixSort::ModeSingle, scan, num)) return 1;

    // Keys of 8 bits, each with its number as the value, and a 1 for each bright one.
    uint32_t *data = static_cast<uint32_t *>(malloc(num * 3 * sizeof(uint32_t)));
    if(data == nullptr) return 1;
    uint32_t *keys = data, *values = data + num, *sums = data + num * 2;
    uint32_t seed = 1;
    for(uint32_t i = 0; i < num; i++) {
        seed = seed * 1664525u + 1013904223u;
        keys[i] = ((seed >> 24) + ((seed >> 16) & 0xFF)) / 2;
        values[i] = i;
        sums[i] = (keys[i] > 127) ? 1 : 0;
    }
    Image image;
    image.create2D(FormatRGBAu8n, width, band * 3);
    uint8_t *pixels = image.getData();
    const auto set_pixel = [&](uint32_t index, uint32_t r, uint32_t g, uint32_t b) {
        const uint8_t pixel[4] = {uint8_t(r), uint8_t(g), uint8_t(b), 255};
        memcpy(pixels + index * 4, pixel, 4);
    };
    for(uint32_t i = 0; i < num; i++) set_pixel(i, keys[i], keys[i], keys[i]);

    Buffer buffer = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, data, num * 3 * sizeof(uint32_t));
    bool status = bool(buffer);
    if(status) {
        // Both only record, and order themselves behind what is in front.
        Compute compute = device.createCompute();
        status = sort.dispatch(compute, buffer, 0, num, num, RadixSort::FlagNone, 8) &&
                 scan.dispatch(compute, buffer, num * 2, num);
    }
    status = status && device.getBuffer(buffer, data);
    for(uint32_t i = 0; i < num && status; i++) {
        // A value leads back to where its key was: the colour tells the place.
        set_pixel(num + i, keys[i], keys[i], keys[i] / 2 + values[i] * 127u / num);
        const uint32_t level = uint32_t(uint64_t(sums[i]) * 255 / sums[num - 1]);
        set_pixel(num * 2 + i, 255 - level, level, 64);
    }
    free(data);
    return status ? example.save(image) : 1;
}
