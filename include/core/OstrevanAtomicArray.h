// Growing list for data that several threads look at.

#pragma once

#include <core/OstrevanArray.h>
#include <core/OstrevanAtomic.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_STD std
#define TWIN_ASSERT OSTREVAN_ASSERT
#include <core/AtomicArray.inc>
