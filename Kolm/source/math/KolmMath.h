// Scalar functions and constants; angles in degrees.

#pragma once

#include "KolmBase.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_API
#include "Math.inc"
