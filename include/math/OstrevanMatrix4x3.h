// Affine transforms of space.

#pragma once

#include <math/OstrevanMatrix.h>

#define TWIN_NAMESPACE Ostrevan
#include <math/Matrix4x3.inc>
