// Pictures side by side in one, by the operations of images alone: no device is needed.
// Usage: contact_sheet OUT.png IN.png...

#include <Ostrevan.h>

#include <string.h>

using namespace Ostrevan;

int main(int argc, char **argv) {
    const bool is_help = (argc == 2 && strcmp(argv[1], "--help") == 0);
    if(argc < 3) {
        Log::print("Usage: contact_sheet OUT.png IN.png...\nPuts pictures side by side.\n");
        return is_help ? 0 : 2;
    }
    constexpr uint32_t cell = 256, margin = 8;
    const uint32_t num = uint32_t(argc - 2);
    uint32_t columns = 1;
    while(columns * columns < num) columns++;
    const uint32_t rows = (num + columns - 1) / columns;

    Image sheet;
    if(!sheet.create2D(FormatRGBAu8n, columns * (cell + margin) + margin, rows * (cell + margin) + margin)) return 1;
    for(size_t i = 0; i < sheet.getDataSize(); i++) sheet.getData()[i] = (i % 4 == 3) ? 255 : 240;
    for(uint32_t i = 0; i < num; i++) {
        Image image(argv[i + 2]);
        if(image && image.getFormat() != FormatRGBAu8n) image = image.toFormat(FormatRGBAu8n);
        if(!image) return 1;
        // The longer side fills its cell, the other one keeps the proportions.
        const bool is_wide = (image.getWidth() >= image.getHeight());
        image = image.getResized(is_wide ? Size(cell, 0) : Size(0, cell));
        if(!image) return 1;
        const Origin origin(margin + i % columns * (cell + margin) + (cell - image.getWidth()) / 2,
                            margin + i / columns * (cell + margin) + (cell - image.getHeight()) / 2, 0);
        if(!sheet.copy(image, origin, image.getRegion())) return 1;
    }
    return sheet.save(argv[1]) ? 0 : 1;
}
