#pragma once

#include <platform/OstrevanVKBuffer.h>

#include "OstrevanBufferKolm.h"
#include "VKBuffer.h"

namespace Ostrevan {

struct VKBuffer::VKBufferImpl : HandleImpl<VKBuffer, Kolm::VKBuffer, Buffer> {};

} // namespace Ostrevan
