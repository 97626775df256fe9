// Rectangles by their sides.

#pragma once

#include <math/OstrevanBound.h>

#define TWIN_NAMESPACE Ostrevan
#include <math/Rect.inc>
