#pragma once

#include <platform/OstrevanDevice.h>

#include "KolmDevice.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Device::DeviceImpl : HandleImpl<Device, Kolm::Device> {};

// The records have one layout, so that the public one is a view of the other.
#define FEATURE(TYPE, NAME)                                                                                  \
    static_assert(std::is_same_v<decltype(Device::Features::NAME), decltype(Kolm::Device::Features::NAME)>); \
    static_assert(offsetof(Device::Features, NAME) == offsetof(Kolm::Device::Features, NAME));
#include "KolmDeviceFeatures.inc"
static_assert(sizeof(Device::Features) == sizeof(Kolm::Device::Features));

} // namespace Ostrevan
