// Devices that have less: each extension and feature hidden in its turn, and older versions of Vulkan. What needs it is
// refused with a line, and everything else does what it did.

#include <algorithm>

#include "DeviceWork.h"
#include "FailureTest.h"

using namespace Kolm;

class LesserVKTest : public FailureTest {
protected:
    /// Runs the work on the device as it is now; \p hidden tells what it lacks.
    void check(const DeviceWork &work, const std::vector<std::string> &hidden) {
        SCOPED_TRACE(work.name);
        bool is_needed = false;
        for(const std::string &name : hidden)
            is_needed |= (std::find(work.needs.begin(), work.needs.end(), name) != work.needs.end());
        EXPECT_EQ(work.run(*device), !is_needed);
        const std::vector<std::string> lines = takeLog();
        checkLines(lines, is_needed ? 3 : 0);
        EXPECT_EQ(lines.empty(), !is_needed);
    }
    /// The pieces that need it, and some of all kinds that do not.
    void check(const std::vector<std::string> &hidden) {
        SCOPED_TRACE(hidden[0]);
        reopen();
        for(const DeviceWork &work : DeviceWork::getList()) {
            for(const std::string &name : work.needs) {
                if(name == hidden[0]) check(work, hidden);
            }
        }
        for(const char *name : {"slots", "vertices", "rays", "texture table", "samples", "timeline"})
            check(DeviceWork::get(name), hidden);
    }
};

TEST_F(LesserVKTest, without_an_extension) {
    for(const char *name : {
#define VK_EXTENSION(NAME, FLAG, CORE) NAME,
#include "VKExtensions.inc"
        }) {
        VK::hideAdapterExtension(name);
        check({name});
        VK::hideAdapterExtension(nullptr);
    }
}

// Members of the record of Vulkan 1.0.
TEST_F(LesserVKTest, without_a_core_feature) {
    static constexpr const char *names[] = {
        "robustBufferAccess",
        "fullDrawIndexUint32",
        "imageCubeArray",
        "independentBlend",
        "geometryShader",
        "tessellationShader",
        "sampleRateShading",
        "dualSrcBlend",
        "logicOp",
        "multiDrawIndirect",
        "drawIndirectFirstInstance",
        "depthClamp",
        "depthBiasClamp",
        "fillModeNonSolid",
        "depthBounds",
        "wideLines",
        "largePoints",
        "alphaToOne",
        "multiViewport",
        "samplerAnisotropy",
        "textureCompressionETC2",
        "textureCompressionASTC_LDR",
        "textureCompressionBC",
        "occlusionQueryPrecise",
        "pipelineStatisticsQuery",
        "vertexPipelineStoresAndAtomics",
        "fragmentStoresAndAtomics",
        "shaderTessellationAndGeometryPointSize",
        "shaderImageGatherExtended",
        "shaderStorageImageExtendedFormats",
        "shaderStorageImageMultisample",
        "shaderStorageImageReadWithoutFormat",
        "shaderStorageImageWriteWithoutFormat",
        "shaderUniformBufferArrayDynamicIndexing",
        "shaderSampledImageArrayDynamicIndexing",
        "shaderStorageBufferArrayDynamicIndexing",
        "shaderStorageImageArrayDynamicIndexing",
        "shaderClipDistance",
        "shaderCullDistance",
        "shaderFloat64",
        "shaderInt64",
        "shaderInt16",
        "shaderResourceResidency",
        "shaderResourceMinLod",
        "sparseBinding",
        "sparseResidencyBuffer",
        "sparseResidencyImage2D",
        "sparseResidencyImage3D",
        "sparseResidency2Samples",
        "sparseResidency4Samples",
        "sparseResidency8Samples",
        "sparseResidency16Samples",
        "sparseResidencyAliased",
        "variableMultisampleRate",
        "inheritedQueries",
    };
    static_assert(std::size(names) == sizeof(VkPhysicalDeviceFeatures) / sizeof(VkBool32));
    for(uint32_t i = 0; i < std::size(names); i++) {
        DriverLayer::hideFeature(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2, i);
        check({names[i]});
        DriverLayer::showAll();
    }
}

// Members of the other records, and whole records whose extension is there all the same.
TEST_F(LesserVKTest, without_a_feature) {
    static const struct {
        const char *name;
        VkStructureType type;
        uint32_t num; // members
    } records[] = {
#define VK_FEATURES(NAME, RECORD, TYPE, CONDITION) \
    {#NAME, TYPE, uint32_t((sizeof(RECORD) - sizeof(VkBaseOutStructure)) / sizeof(VkBool32))},
#include "VKFeatures.inc"
    };
    for(const auto &record : records) {
        std::vector<std::string> all;
        for(uint32_t i = 0; i < record.num; i++) {
            all.push_back(std::string(record.name) + "." + std::to_string(i));
            bool is_named = false;
            for(const DeviceWork &work : DeviceWork::getList())
                is_named |= (std::find(work.needs.begin(), work.needs.end(), all.back()) != work.needs.end());
            if(!is_named) continue;
            DriverLayer::hideFeature(record.type, i);
            check({all.back()});
            DriverLayer::showAll();
        }
        SCOPED_TRACE("all of them");
        DriverLayer::hideFeature(record.type, ~0u);
        check(all);
        DriverLayer::showAll();
    }
}

static constexpr struct {
    const char *name;
    uint32_t core; // version of Vulkan that has it, 0 for none
} extensions[] = {
#define VK_EXTENSION(NAME, FLAG, CORE) {NAME, CORE},
#include "VKExtensions.inc"
};

// Vulkan of a version, with all extensions and with none.
TEST_F(LesserVKTest, older_versions) {
    for(const uint32_t version : {VK_API_VERSION_1_2, VK_API_VERSION_1_1}) {
        for(const bool is_bare : {false, true}) {
            SCOPED_TRACE(testing::Message()
                         << "Vulkan 1." << VK_API_VERSION_MINOR(version) << (is_bare ? ", bare" : ""));
            DriverLayer::setVersion(version, is_bare);
            reopen();
            EXPECT_EQ(getAdapter()->getVersion(), version);
            std::vector<std::string> hidden;
            for(const auto &extension : extensions) {
                if(is_bare && (extension.core == 0 || version < extension.core)) hidden.push_back(extension.name);
            }
            for(const DeviceWork &work : DeviceWork::getList()) check(work, hidden);
            DriverLayer::showAll();
        }
    }
    reopen();
}
