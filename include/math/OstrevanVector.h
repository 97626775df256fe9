// Vectors of two, three and four components.

#pragma once

#include <string.h>

#include <math/OstrevanMath.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_ASSERT OSTREVAN_ASSERT
#include <math/Vector.inc>
