// A colour of four floats.

#pragma once

#include "KolmBase.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_API
#include "Color.inc"
