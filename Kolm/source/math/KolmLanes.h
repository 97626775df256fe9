// Lane types: four or eight values that are worked on at once.

#pragma once

#include "KolmFloat.h"
#include "KolmVector.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_ASSERT KOLM_ASSERT
#include "Lanes.inc"
