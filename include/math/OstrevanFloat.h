// Small floats: the IEEE half and the 21-bit float of packed triples.

#pragma once

#include <base/OstrevanBase.h>

#define TWIN_NAMESPACE Ostrevan
#include <math/Float.inc>
