// Projective transforms of space and the projections.

#pragma once

#include <math/OstrevanMatrix4x3.h>

#define TWIN_NAMESPACE Ostrevan
#include <math/Matrix4x4.inc>
