// Declares the names of all public classes, for headers that only pass them on.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

#define OSTREVAN_CLASS(MODULE, NAME, ...) class NAME;
#include <base/OstrevanClasses.inc>

class String;

} // namespace Ostrevan
