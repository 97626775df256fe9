#pragma once

#include <platform/OstrevanPipeline.h>

#include "KolmPipeline.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Pipeline::PipelineImpl : HandleImpl<Pipeline, Kolm::Pipeline> {};

} // namespace Ostrevan
