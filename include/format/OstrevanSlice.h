// Faces, layers and mipmaps: which parts of an image or texture an operation takes.

#pragma once

#include <base/OstrevanBase.h>

#define TWIN_NAMESPACE Ostrevan
#include <format/Slice.inc>
