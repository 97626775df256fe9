#include "VKPipelineCache.h"

#include "KolmLog.h"
#include "KolmShader.h"

namespace Kolm {

bool VKPipelineCache::begin(Blob &key) const {
    if(!Shader::hasCache()) return false;
    const VkPhysicalDeviceProperties &properties = adapter->getProperties();
    const uint32_t words[] = {properties.driverVersion, properties.deviceID, uint32_t(PlatformVK), adapter->getIndex(),
                              properties.vendorID};
    return key.write(words, sizeof(words)) == sizeof(words);
}

bool VKPipelineCache::create(Blob &key) {
    clear();
    key.seek(0);
    hash = key.getSHA1();
    Blob data;
    is_hit = Shader::loadCache(hash, data) && check(data);
    if(!is_hit) data.clear();
    return create_cache(data) || (is_hit && recreate());
}

bool VKPipelineCache::recreate() {
    is_hit = false;
    if(cache) vkDestroyPipelineCache(adapter->getDevice(), cache, nullptr);
    cache = VK_NULL_HANDLE;
    return create_cache(Blob());
}

void VKPipelineCache::clear() {
    if(cache) vkDestroyPipelineCache(adapter->getDevice(), cache, nullptr);
    cache = VK_NULL_HANDLE;
    hash.clear();
    is_hit = false;
}

bool VKPipelineCache::create_cache(const Blob &data) {
    auto info = vk_record<VkPipelineCacheCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_CACHE_CREATE_INFO);
    info.initialDataSize = data.getSize();
    info.pInitialData = data.getData();
    VkPipelineCache new_cache = VK_NULL_HANDLE;
    if(VK::error(vkCreatePipelineCache(adapter->getDevice(), &info, nullptr, &new_cache))) {
        Log::printf(Log::Error, "%s::create(): can't create pipeline cache\n", name);
        return false;
    }
    cache = new_cache;
    return true;
}

// Whether the bytes are of this driver and device. Drivers trust what stands behind their header.
bool VKPipelineCache::check(const Blob &data) const {
    const VkPhysicalDeviceProperties &properties = adapter->getProperties();
    VkPipelineCacheHeaderVersionOne header;
    if(data.getSize() < sizeof(header)) return false;
    memcpy(&header, data.getData(), sizeof(header));
    return header.headerSize >= sizeof(header) && header.headerSize <= data.getSize() &&
           header.headerVersion == VK_PIPELINE_CACHE_HEADER_VERSION_ONE && header.vendorID == properties.vendorID &&
           header.deviceID == properties.deviceID &&
           memcmp(header.pipelineCacheUUID, properties.pipelineCacheUUID, VK_UUID_SIZE) == 0;
}

bool VKPipelineCache::save() {
    if(cache == VK_NULL_HANDLE || is_hit) return true;
    size_t size = 0;
    Blob data;
    VkResult result = vkGetPipelineCacheData(adapter->getDevice(), cache, &size, nullptr);
    if(result == VK_SUCCESS && data.setSize(size)) {
        result = vkGetPipelineCacheData(adapter->getDevice(), cache, &size, data.getData());
    }
    if(VK::error(result) || size > data.getSize()) {
        Log::printf(Log::Error, "%s::create(): can't get pipeline cache\n", name);
        return false;
    }
    data.setSize(size);
    data.seek(0);
    return Shader::saveCache(hash, data);
}

} // namespace Kolm
