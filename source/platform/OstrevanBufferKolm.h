#pragma once

#include <platform/OstrevanBuffer.h>

#include "KolmBuffer.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Buffer::BufferImpl : HandleImpl<Buffer, Kolm::Buffer> {};

#define BUFFER_FLAG(BIT, NAME, ...) static_assert(int(Buffer::Flag##NAME) == int(Kolm::Buffer::Flag##NAME));
#include "KolmBufferFlags.inc"
static_assert(int(Buffer::NumFlags) == int(Kolm::Buffer::NumFlags));

inline Kolm::Buffer::Flags getCoreFlags(Buffer::Flags flags) { return static_cast<Kolm::Buffer::Flags>(flags); }

} // namespace Ostrevan
