// Projective transforms of space and the projections.

#pragma once

#include "KolmMatrix4x3.h"

#define TWIN_NAMESPACE Kolm
#include "Matrix4x4.inc"
