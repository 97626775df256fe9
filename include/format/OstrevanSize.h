// Sizes, origins and regions in pixels, as images, textures and surfaces take them.

#pragma once

#include <base/OstrevanBase.h>

#define TWIN_NAMESPACE Ostrevan
#include <format/Size.inc>
