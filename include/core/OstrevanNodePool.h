// Memory for the nodes of one container.

#pragma once

#include <core/OstrevanAllocator.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_STD std
#include <core/NodePool.inc>
