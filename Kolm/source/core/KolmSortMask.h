// The partition of quickSort for numbers.

#pragma once

#include "KolmBase.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_STD Kolm
#include "SortMask.inc"
