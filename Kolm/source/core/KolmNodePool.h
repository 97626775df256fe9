// Memory for the nodes of one container.

#pragma once

#include "KolmAllocator.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_STD Kolm
#include "NodePool.inc"
