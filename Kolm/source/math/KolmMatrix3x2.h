// Affine transforms of the plane.

#pragma once

#include "KolmMatrix.h"

#define TWIN_NAMESPACE Kolm
#include "Matrix3x2.inc"
