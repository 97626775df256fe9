// Growing list for data that several threads look at.

#pragma once

#include "KolmArray.h"
#include "KolmAtomic.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_STD Kolm
#define TWIN_ASSERT KOLM_ASSERT
#include "AtomicArray.inc"
