// Quaternions as rotations.

#pragma once

#include "KolmVector.h"

#define TWIN_NAMESPACE Kolm
#include "Quaternion.inc"
