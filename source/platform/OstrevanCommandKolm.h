#pragma once

#include <platform/OstrevanCommand.h>

#include "KolmCommand.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Command::CommandImpl : HandleImpl<Command, Kolm::Command> {};

} // namespace Ostrevan
