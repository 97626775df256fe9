// In-place sort.

#pragma once

#include "KolmSortMask.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_STD Kolm
#define TWIN_ASSERT KOLM_ASSERT
#include "Sort.inc"
