#pragma once

#include <platform/OstrevanVKDevice.h>

#include "OstrevanDeviceKolm.h"
#include "VKDevice.h"

namespace Ostrevan {

struct VKDevice::VKDeviceImpl : HandleImpl<VKDevice, Kolm::VKDevice, Device> {};

} // namespace Ostrevan
