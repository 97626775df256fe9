// Work on arrays: conversions to and from halves, transforms of points.

#pragma once

#include <math/OstrevanLanes.h>
#include <math/OstrevanMatrix4x3.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_API OSTREVAN_API
#include <math/Transform.inc>
