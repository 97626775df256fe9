#pragma once

#include <platform/OstrevanVKTexture.h>

#include "OstrevanTextureKolm.h"
#include "VKTexture.h"

namespace Ostrevan {

struct VKTexture::VKTextureImpl : HandleImpl<VKTexture, Kolm::VKTexture, Texture> {};

} // namespace Ostrevan
