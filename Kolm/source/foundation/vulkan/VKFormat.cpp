#include "VKFormat.h"

namespace Kolm {

namespace {

struct FormatTable {
    VkFormat formats[NumFormats] = {};
    constexpr FormatTable() {
#define VK_FORMAT(NAME, VALUE) formats[Format##NAME] = VK_FORMAT_##VALUE;
#include "VKFormat.inc"
    }
};

constexpr FormatTable format_table;

} // namespace

VkFormat getVKFormat(Format format) {
    return (uint32_t(format) < NumFormats) ? format_table.formats[format] : VK_FORMAT_UNDEFINED;
}

} // namespace Kolm
