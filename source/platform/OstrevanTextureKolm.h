#pragma once

#include <platform/OstrevanTexture.h>

#include "KolmTexture.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Texture::TextureImpl : HandleImpl<Texture, Kolm::Texture> {};

#define TEXTURE_FLAG(BIT, NAME, ...) static_assert(int(Texture::Flag##NAME) == int(Kolm::Texture::Flag##NAME));
#include "KolmTextureFlags.inc"
static_assert(int(Texture::NumFlags) == int(Kolm::Texture::NumFlags));
static_assert(int(Texture::Type2D) == int(Kolm::Texture::Type2D));
static_assert(int(Texture::Type3D) == int(Kolm::Texture::Type3D));
static_assert(int(Texture::TypeCube) == int(Kolm::Texture::TypeCube));
static_assert(int(Texture::NumTypes) == int(Kolm::Texture::NumTypes));

inline Kolm::Texture::Type getCoreType(Texture::Type type) { return static_cast<Kolm::Texture::Type>(type); }
inline Kolm::Texture::Flags getCoreFlags(Texture::Flags flags) { return static_cast<Kolm::Texture::Flags>(flags); }

} // namespace Ostrevan
