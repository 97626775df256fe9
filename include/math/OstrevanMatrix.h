// What all matrices share.

#pragma once

#include <math/OstrevanLanes.h>
#include <math/OstrevanQuaternion.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_ASSERT OSTREVAN_ASSERT
#include <math/Matrix.inc>
