// What stands between the library and the driver in all tests of the backend: it lets chosen calls fail, makes the
// device look like a lesser one, and tells FeatureUse what is used.

#pragma once

#include <stdint.h>

#include "VK.h"

/// Process-wide. Installed before the first test; without wishes it changes nothing.
class DriverLayer {
public:
    // Failures. A call that fails does not reach the driver and leaves garbage where its results would be.
    /// The \p number-th call from now on that makes an object or takes memory fails with \p result; 0 for none.
    static void fail(uint32_t number, VkResult result = VK_ERROR_OUT_OF_DEVICE_MEMORY);
    /// Name of the function that failed since fail(), null if none did.
    static const char *getFailed();
    /// Calls of that kind since fail().
    static uint32_t getNumCalls();
    /// The device is lost in the next call of \p function, and in all calls that can tell. Null for a new device.
    static void lose(const char *function);

    // Less than the device has, from the next VK::open() on.
    /// Neither instance nor device know more than \p version, and extensions are gone with \p bare.
    static void setVersion(uint32_t version, bool bare);
    /// A member of a feature record: VkPhysicalDeviceFeatures for VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2, or a
    /// record of the chain. \p index counts the members; ~0 hides all of them.
    static void hideFeature(VkStructureType type, uint32_t index);
    static void showAll();
};
