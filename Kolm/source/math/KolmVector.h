// Vectors of two, three and four components.

#pragma once

#include "KolmMath.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_ASSERT KOLM_ASSERT
#include "Vector.inc"
