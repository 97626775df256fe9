// A colour of four floats.

#pragma once

#include <base/OstrevanBase.h>

#define TWIN_NAMESPACE Ostrevan
#define TWIN_API OSTREVAN_API
#include <format/Color.inc>
