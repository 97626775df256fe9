// Bounds of points in space and in the plane.

#pragma once

#include "KolmMatrix4x3.h"

#define TWIN_NAMESPACE Kolm
#include "Bound.inc"
