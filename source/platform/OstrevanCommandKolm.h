#pragma once

#include <platform/OstrevanCommand.h>

#include "KolmCommand.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Command::CommandImpl : HandleImpl<Command, Kolm::Command> {};

// The records have one layout, so that the public one is a view of the other.

} // namespace Ostrevan
