#pragma once

#include <platform/OstrevanBufferTable.h>

#include "KolmBufferTable.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct BufferTable::BufferTableImpl : HandleImpl<BufferTable, Kolm::BufferTable> {};

} // namespace Ostrevan
