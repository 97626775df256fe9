// Which of a device's features the tests put to use, told from the calls that reach the driver.

#pragma once

#include <stdint.h>

#include "VK.h"

/// From any thread. Features bear the names of Device::Features.
class FeatureUse {
public:
    static void use(const char *feature);
    static bool isUsed(const char *feature);

    // Calls whose arguments tell.
    static void watchShader(const VkShaderModuleCreateInfo &info);
    static void watchSetLayout(const VkDescriptorSetLayoutCreateInfo &info);
    static void watchPipeline(const VkGraphicsPipelineCreateInfo &info);
    static void watchImage(const VkImageCreateInfo &info);
    static void watchView(const VkImageViewCreateInfo &info);
    static void watchBind(const VkBindSparseInfo &info);
};
