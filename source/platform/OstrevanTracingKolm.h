#pragma once

#include <platform/OstrevanTracing.h>

#include "KolmTracing.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Tracing::TracingImpl : HandleImpl<Tracing, Kolm::Tracing> {};

static_assert(int(Tracing::TypeGeometry) == int(Kolm::Tracing::TypeGeometry));
static_assert(int(Tracing::TypeBounds) == int(Kolm::Tracing::TypeBounds));
static_assert(int(Tracing::TypeInstances) == int(Kolm::Tracing::TypeInstances));
static_assert(int(Tracing::NumTypes) == int(Kolm::Tracing::NumTypes));
static_assert(int(Tracing::FlagCompact) == int(Kolm::Tracing::FlagCompact));
static_assert(int(Tracing::FlagUpdate) == int(Kolm::Tracing::FlagUpdate));
static_assert(int(Tracing::FlagFastTrace) == int(Kolm::Tracing::FlagFastTrace));
static_assert(int(Tracing::FlagFastBuild) == int(Kolm::Tracing::FlagFastBuild));
static_assert(int(Tracing::FlagLowMemory) == int(Kolm::Tracing::FlagLowMemory));
static_assert(int(Tracing::FlagOpaque) == int(Kolm::Tracing::FlagOpaque));
static_assert(int(Tracing::FlagSingleHit) == int(Kolm::Tracing::FlagSingleHit));
static_assert(int(Tracing::NumFlags) == int(Kolm::Tracing::NumFlags));
static_assert(int(Tracing::InstanceTwoSided) == int(Kolm::Tracing::InstanceTwoSided));
static_assert(int(Tracing::InstanceFlip) == int(Kolm::Tracing::InstanceFlip));
static_assert(int(Tracing::InstanceOpaque) == int(Kolm::Tracing::InstanceOpaque));
static_assert(int(Tracing::InstanceTransparent) == int(Kolm::Tracing::InstanceTransparent));
static_assert(int(Tracing::InstanceSize) == int(Kolm::Tracing::InstanceSize));

inline Kolm::Tracing::Flags getCoreFlags(Tracing::Flags flags) { return static_cast<Kolm::Tracing::Flags>(flags); }

} // namespace Ostrevan
