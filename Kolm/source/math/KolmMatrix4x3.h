// Affine transforms of space.

#pragma once

#include "KolmMatrix.h"

#define TWIN_NAMESPACE Kolm
#include "Matrix4x3.inc"
