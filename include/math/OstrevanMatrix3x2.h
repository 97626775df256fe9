// Affine transforms of the plane.

#pragma once

#include <math/OstrevanMatrix.h>

#define TWIN_NAMESPACE Ostrevan
#include <math/Matrix3x2.inc>
