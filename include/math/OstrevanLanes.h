// Lane types: four or eight values that are worked on at once.

#pragma once

#include <math/OstrevanFloat.h>
#include <math/OstrevanVector.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_ASSERT OSTREVAN_ASSERT
#include <math/Lanes.inc>
