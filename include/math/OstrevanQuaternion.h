// Quaternions as rotations.

#pragma once

#include <math/OstrevanVector.h>

#define TWIN_NAMESPACE Ostrevan
#include <math/Quaternion.inc>
