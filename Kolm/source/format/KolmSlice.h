// Faces, layers and mipmaps: which parts of an image or texture an operation takes.

#pragma once

#include "KolmBase.h"

#define TWIN_NAMESPACE Kolm
#include "Slice.inc"
