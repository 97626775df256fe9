// One texel as the lanes of its element type.

#pragma once

#include <format/OstrevanColor.h>
#include <format/OstrevanFormat.h>
#include <math/OstrevanLanes.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_API OSTREVAN_API
#include <format/ImageColor.inc>
