// VKFormat.h: pixel formats in Vulkan's numbers, derived from VKFormat.inc.

#pragma once

#include "KolmFormat.h"

#include "VKHeaders.h"

namespace Kolm {

/// VK_FORMAT_UNDEFINED for a format that Vulkan does not have.
VkFormat getVKFormat(Format format);

} // namespace Kolm
