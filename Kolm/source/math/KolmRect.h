// Rectangles by their sides.

#pragma once

#include "KolmBound.h"

#define TWIN_NAMESPACE Kolm
#include "Rect.inc"
