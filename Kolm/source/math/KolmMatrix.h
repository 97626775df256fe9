// What all matrices share.

#pragma once

#include "KolmLanes.h"
#include "KolmQuaternion.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_ASSERT KOLM_ASSERT
#include "Matrix.inc"
