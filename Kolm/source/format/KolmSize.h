// Sizes, origins and regions in pixels, as images, textures and surfaces take them.

#pragma once

#include "KolmBase.h"

#define TWIN_NAMESPACE Kolm
#include "Size.inc"
