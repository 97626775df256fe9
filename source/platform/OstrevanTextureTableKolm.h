#pragma once

#include <platform/OstrevanTextureTable.h>

#include "KolmTextureTable.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct TextureTable::TextureTableImpl : HandleImpl<TextureTable, Kolm::TextureTable> {};

} // namespace Ostrevan
