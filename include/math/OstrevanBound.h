// Bounds of points in space and in the plane.

#pragma once

#include <math/OstrevanMatrix4x3.h>

#define TWIN_NAMESPACE Ostrevan
#include <math/Bound.inc>
