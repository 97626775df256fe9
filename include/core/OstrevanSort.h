// In-place sort.

#pragma once

#include <core/OstrevanSortMask.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_STD std
#define TWIN_ASSERT OSTREVAN_ASSERT
#include <core/Sort.inc>
