#pragma once

#include <platform/OstrevanTraversal.h>

#include "KolmTraversal.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Traversal::TraversalImpl : HandleImpl<Traversal, Kolm::Traversal> {};

static_assert(uint32_t(Traversal::NumSamplers) == uint32_t(Kolm::Traversal::NumSamplers));
static_assert(uint32_t(Traversal::NumTextures) == uint32_t(Kolm::Traversal::NumTextures));
static_assert(uint32_t(Traversal::NumSurfaces) == uint32_t(Kolm::Traversal::NumSurfaces));
static_assert(uint32_t(Traversal::NumUniforms) == uint32_t(Kolm::Traversal::NumUniforms));
static_assert(uint32_t(Traversal::NumStorages) == uint32_t(Kolm::Traversal::NumStorages));
static_assert(uint32_t(Traversal::NumTracings) == uint32_t(Kolm::Traversal::NumTracings));
static_assert(uint32_t(Traversal::NumTexels) == uint32_t(Kolm::Traversal::NumTexels));
static_assert(uint32_t(Traversal::NumTables) == uint32_t(Kolm::Traversal::NumTables));
static_assert(uint32_t(Traversal::TableTypeStorage) == uint32_t(Kolm::Traversal::TableTypeStorage));
static_assert(uint32_t(Traversal::NumTableTypes) == uint32_t(Kolm::Traversal::NumTableTypes));
static_assert(uint32_t(Traversal::BindFlagFixed) == uint32_t(Kolm::Traversal::BindFlagFixed));
static_assert(uint32_t(Traversal::BindFlagRead) == uint32_t(Kolm::Traversal::BindFlagRead));
static_assert(uint32_t(Traversal::NumBindFlags) == uint32_t(Kolm::Traversal::NumBindFlags));

} // namespace Ostrevan
