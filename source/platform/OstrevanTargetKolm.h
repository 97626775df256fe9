#pragma once

#include <platform/OstrevanTarget.h>

#include "KolmTarget.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Target::TargetImpl : HandleImpl<Target, Kolm::Target> {};

static_assert(int(Target::NumTargets) == int(Kolm::Target::NumTargets));
static_assert(int(Target::BeginLoad) == int(Kolm::Target::BeginLoad));
static_assert(int(Target::BeginClear) == int(Kolm::Target::BeginClear));
static_assert(int(Target::BeginDiscard) == int(Kolm::Target::BeginDiscard));
static_assert(int(Target::EndStore) == int(Kolm::Target::EndStore));
static_assert(int(Target::EndResolve) == int(Kolm::Target::EndResolve));
static_assert(int(Target::EndDiscard) == int(Kolm::Target::EndDiscard));
static_assert(int(Target::OpDefault) == int(Kolm::Target::OpDefault));

inline Kolm::Target::Operation getCoreOp(Target::Operation op) { return static_cast<Kolm::Target::Operation>(op); }

} // namespace Ostrevan
