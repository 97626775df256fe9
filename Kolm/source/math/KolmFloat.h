// Small floats: the IEEE half and the 21-bit float of packed triples.

#pragma once

#include "KolmBase.h"

#define TWIN_NAMESPACE Kolm
#include "Float.inc"
