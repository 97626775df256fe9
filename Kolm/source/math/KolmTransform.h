// Work on arrays: conversions to and from halves, transforms of points.

#pragma once

#include "KolmLanes.h"
#include "KolmMatrix4x3.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_API
#include "Transform.inc"
