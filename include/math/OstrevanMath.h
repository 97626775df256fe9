// Scalar functions and constants; angles in degrees.

#pragma once

#include <base/OstrevanBase.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_API OSTREVAN_API
#include <math/Math.inc>
