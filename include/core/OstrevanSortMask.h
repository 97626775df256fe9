// The partition of quickSort for numbers.

#pragma once

#include <string.h>

#include <type_traits>
#include <utility>

#include <base/OstrevanBase.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_STD std
#include <core/SortMask.inc>
