#pragma once

#include <format/OstrevanJson.h>

#include "KolmJson.h"
#include "OstrevanHandleKolm.h"

namespace Ostrevan {

struct Json::JsonImpl : HandleImpl<Json, Kolm::Json> {};

#define JSON_ENUM(NAME) static_assert(uint32_t(Json::NAME) == uint32_t(Kolm::Json::NAME));
JSON_ENUM(TypeUnknown)
JSON_ENUM(TypeNull)
JSON_ENUM(TypeBool)
JSON_ENUM(TypeNumber)
JSON_ENUM(TypeString)
JSON_ENUM(TypeObject)
JSON_ENUM(TypeArray)
JSON_ENUM(NumTypes)
JSON_ENUM(NotFound)
#undef JSON_ENUM

inline Kolm::Json::Type getCore(Json::Type type) { return Kolm::Json::Type(type); }

} // namespace Ostrevan
