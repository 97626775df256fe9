#include "VKDevice.h"

#include "KolmBackend.h"
#include "KolmCaller.h"
#include "KolmLog.h"
#include "VKBuffer.h"
#include "VKCompute.h"
#include "VKKernel.h"
#include "VKOffscreen.h"
#include "VKShader.h"
#include "VKSurface.h"

namespace Kolm {

VKDevice::VKDevice(VKContext *context)
    : Device(context->getAdapter()->getIndex()), adapter(context->getAdapter()), context(context) {}

VKDevice::VKDevice(VKOffscreen *offscreen) : VKDevice(offscreen->getContext()->retain()) {}

VKDevice::VKDevice(VKSurface *surface) : VKDevice(surface->getContext()->retain()) {}

// A frame of the parent may hold this context as one that it runs: only the device keeps the parent alive.
VKDevice::~VKDevice() {
    VKContext::release(parent);
    VKContext::release(context);
}

String VKDevice::getName() const { return adapter->getName(); }

String VKDevice::getVendor() const { return getVendorName(adapter->getProperties().vendorID); }

String VKDevice::getVersion() const { return adapter->getDriverVersion(); }

bool VKDevice::hasShader(Shader::Type) const { return true; }

const Device::Features &VKDevice::getFeatures() const {
    Features &features = get_features(adapter_index);
    // Vulkan may have been closed and opened since the record was filled, with other devices or other wishes.
    if(!features.initialized || !adapter->has_device_features) {
        load_features(features, *adapter);
        features.initialized = true;
        adapter->has_device_features = true;
    }
    return features;
}

void VKDevice::load_features(Features &f, const VKAdapter &adapter) {
    const VkPhysicalDeviceFeatures &core = adapter.getFeatures();
    const VkPhysicalDeviceLimits &limits = adapter.getLimits();
    const VkPhysicalDeviceDescriptorIndexingFeatures &indexing = adapter.getDescriptorIndexingFeatures();
    const VkPhysicalDeviceSubgroupProperties &subgroup = adapter.getSubgroupProperties();
    const VkPhysicalDeviceSubgroupSizeControlProperties &subgroup_sizes = adapter.getSubgroupSizeProperties();
    const VkPhysicalDeviceShaderAtomicFloatFeaturesEXT &atomic_float = adapter.getShaderAtomicFloatFeatures();
    const VkPhysicalDeviceShaderAtomicInt64Features &atomic_int64 = adapter.getShaderAtomicInt64Features();
    const VkPhysicalDeviceMeshShaderPropertiesEXT &mesh = adapter.getMeshShaderProperties();

    f = Features();
    f.threadAccess = true;
    f.sparseBuffer = core.sparseBinding && core.sparseResidencyBuffer;
    f.sparseTexture = core.sparseBinding && core.sparseResidencyImage2D;
    f.sparseArrayTexture = f.sparseTexture && core.sparseResidencyAliased;
    f.bufferTable =
        indexing.shaderStorageBufferArrayNonUniformIndexing && indexing.descriptorBindingStorageBufferUpdateAfterBind;
    f.textureTable =
        indexing.shaderSampledImageArrayNonUniformIndexing && indexing.descriptorBindingSampledImageUpdateAfterBind;
    f.cubeArrayTexture = core.imageCubeArray;
    f.baseInstanceIndex = true;
    f.vertexStorage = true;
    f.drawIndirectIndex = adapter.has_shader_draw_parameters;
    f.drawIndirectCount = adapter.has_draw_indirect_count && core.multiDrawIndirect && limits.maxDrawIndirectCount >= 2;
    f.taskIndirectCount = adapter.has_mesh_shader_ext;
    f.vertexIndexLayer = adapter.has_shader_viewport_index_layer_ext || adapter.has_viewport_array2_nv;
    f.geometryPassthrough = adapter.has_geometry_shader_passthrough_nv;
    f.fragmentBarycentric = adapter.has_fragment_shader_barycentric_nv ||
                            adapter.getFragmentBarycentricFeatures().fragmentShaderBarycentric;
    f.fragmentStencilExport = adapter.has_shader_stencil_export_ext;
    f.dualSourceBlending = core.dualSrcBlend;
    f.conservativeRaster = adapter.has_conservative_raster_ext;
    f.conditionalRendering =
        adapter.has_conditional_rendering_ext && adapter.getConditionalRenderingFeatures().conditionalRendering;
    f.rayTracing = adapter.getRayTracingPipelineFeatures().rayTracingPipeline;
    f.computeTracing = adapter.getRayQueryFeatures().rayQuery;
    f.fragmentTracing = adapter.getRayQueryFeatures().rayQuery;
    f.indirectTracing = adapter.getAccelerationStructureFeatures().accelerationStructureIndirectBuild;
    f.recursionDepth = adapter.getRayTracingPipelineProperties().maxRayRecursionDepth;

    f.subgroupVote = (subgroup.supportedOperations & VK_SUBGROUP_FEATURE_VOTE_BIT) != 0;
    f.subgroupMath = (subgroup.supportedOperations & VK_SUBGROUP_FEATURE_ARITHMETIC_BIT) != 0;
    f.subgroupShuffle = (subgroup.supportedOperations & VK_SUBGROUP_FEATURE_SHUFFLE_BIT) != 0;
    f.subgroupSize = subgroup.subgroupSize;
    f.minSubgroupSize = subgroup_sizes.minSubgroupSize ? subgroup_sizes.minSubgroupSize : subgroup.subgroupSize;
    f.maxSubgroupSize = subgroup_sizes.maxSubgroupSize ? subgroup_sizes.maxSubgroupSize : subgroup.subgroupSize;

    f.shaderu8 = adapter.getShaderFloat16Int8Features().shaderInt8;
    f.shaderf16 = adapter.getShaderFloat16Int8Features().shaderFloat16;
    f.shaderu16 = core.shaderInt16;
    f.shaderf64 = core.shaderFloat64;
    f.shaderu64 = core.shaderInt64;
    f.atomicGroupf32 = atomic_float.shaderSharedFloat32AtomicAdd;
    f.atomicGroupu64 = atomic_int64.shaderSharedInt64Atomics;
    f.atomicBufferf32 = atomic_float.shaderBufferFloat32AtomicAdd;
    f.atomicBufferu64 = atomic_int64.shaderBufferInt64Atomics;
    f.atomicTexturef32 = atomic_float.shaderImageFloat32AtomicAdd;
    f.atomicTextureu32 = true;
    f.atomicTextureu64 = adapter.getShaderImageAtomicInt64Features().shaderImageInt64Atomics;
    load_matrices(f, adapter);

    f.uniformAlignment = adapter.uniform_alignment;
    f.storageAlignment = adapter.storage_alignment;
    f.maxTextureSamples = adapter.max_texture_samples;
    f.maxTexture2DSize = limits.maxImageDimension2D;
    f.maxTexture3DSize = limits.maxImageDimension3D;
    f.maxTextureLayers = limits.maxImageArrayLayers;
    f.maxGroupSizeX = limits.maxComputeWorkGroupSize[0];
    f.maxGroupSizeY = limits.maxComputeWorkGroupSize[1];
    f.maxGroupSizeZ = limits.maxComputeWorkGroupSize[2];
    f.maxGroupCountX = limits.maxComputeWorkGroupCount[0];
    f.maxGroupCountY = limits.maxComputeWorkGroupCount[1];
    f.maxGroupCountZ = limits.maxComputeWorkGroupCount[2];
    f.maxTaskCount = mesh.maxTaskWorkGroupTotalCount;
    f.maxTaskMemory = mesh.maxTaskSharedMemorySize;
    f.maxTaskMeshes = mesh.maxMeshWorkGroupTotalCount;
    f.maxMeshMemory = mesh.maxMeshSharedMemorySize;
    f.maxMeshVertices = mesh.maxMeshOutputVertices;
    f.maxMeshPrimitives = mesh.maxMeshOutputPrimitives;
    f.maxViewportCount = limits.maxViewports;
    f.maxClipCullCount = min(limits.maxClipDistances, limits.maxCullDistances);
    f.maxUniformSize = limits.maxUniformBufferRange;
    f.maxStorageSize = limits.maxStorageBufferRange;
    f.groupMemory = limits.maxComputeSharedMemorySize;
    f.videoMemory = adapter.video_memory;
    f.vendorID = adapter.getProperties().vendorID;
    f.deviceID = adapter.getProperties().deviceID;
    f.pciBusID = adapter.getPCIBusInfoProperties().pciBus;
    f.pciDomainID = adapter.getPCIBusInfoProperties().pciDomain;
    f.pciDeviceID = adapter.getPCIBusInfoProperties().pciDevice;
}

// Shapes of half float matrices, with half and single float results.
void VKDevice::load_matrices(Features &f, const VKAdapter &adapter) {
    const struct {
        uint32_t m, n, k;
        VkComponentTypeKHR result;
        bool &feature;
    } shapes[] = {
        {16, 16, 16, VK_COMPONENT_TYPE_FLOAT16_KHR, f.matrix16f16},
        {16, 8, 8, VK_COMPONENT_TYPE_FLOAT16_KHR, f.matrix16x8x8f16},
        {16, 8, 16, VK_COMPONENT_TYPE_FLOAT16_KHR, f.matrix16x8x16f16},
        {16, 16, 16, VK_COMPONENT_TYPE_FLOAT32_KHR, f.matrix16f16f32},
        {16, 8, 8, VK_COMPONENT_TYPE_FLOAT32_KHR, f.matrix16x8x8f16f32},
        {16, 8, 16, VK_COMPONENT_TYPE_FLOAT32_KHR, f.matrix16x8x16f16f32},
    };
    Array<VkCooperativeMatrixPropertiesKHR> properties(adapter.getCooperativeMatrixProperties(nullptr, 0));
    if(properties.empty()) return;
    const uint32_t num = adapter.getCooperativeMatrixProperties(properties.get(), properties.size());
    for(uint32_t i = 0; i < min(num, properties.size()); i++) {
        const VkCooperativeMatrixPropertiesKHR &p = properties[i];
        if(p.AType != VK_COMPONENT_TYPE_FLOAT16_KHR || p.BType != VK_COMPONENT_TYPE_FLOAT16_KHR) continue;
        for(const auto &shape : shapes) {
            if(p.MSize == shape.m && p.NSize == shape.n && p.KSize == shape.k && p.ResultType == shape.result)
                shape.feature = true;
        }
    }
}

Device *VKDevice::create_device(VKAdapter *adapter, uint32_t family, uint32_t index, VkCommandBufferLevel level,
                                uint32_t frames) {
    VKContext *context = new VKContext(adapter, family, index);
    if(context->create(level, frames)) return new VKDevice(context);
    VKContext::release(context);
    return nullptr;
}

Device *VKDevice::createDevice(uint32_t index, uint32_t frames) {
    VKAdapter *new_adapter = VK::getAdapter(index);
    if(new_adapter == nullptr) return nullptr;
    return create_device(new_adapter, new_adapter->graphics_family, new_adapter->graphics_index,
                         VK_COMMAND_BUFFER_LEVEL_PRIMARY, frames);
}

// What a secondary context recorded runs with its parent's frame, for which it has no fence of its own: one frame more
// than the parent has keeps it from being used again too early.
Device *VKDevice::createCommandDevice(uint32_t frames) {
    frames = max(frames, context->getNumFrames() + 1);
    Device *device = create_device(adapter, adapter->graphics_family, adapter->graphics_index,
                                   VK_COMMAND_BUFFER_LEVEL_SECONDARY, frames);
    if(device) static_cast<VKDevice *>(device)->parent = context->retain();
    return device;
}

Device *VKDevice::createComputeDevice(uint32_t frames) {
    if(adapter->compute_family == VKAdapter::NotFound || adapter->compute_index == VKAdapter::NotFound) return nullptr;
    return create_device(adapter, adapter->compute_family, adapter->compute_index, VK_COMMAND_BUFFER_LEVEL_PRIMARY,
                         frames);
}

Device *VKDevice::createCopyDevice(uint32_t frames) {
    Device *device = nullptr;
    if(adapter->copy_family != VKAdapter::NotFound && adapter->copy_index != VKAdapter::NotFound)
        device =
            create_device(adapter, adapter->copy_family, adapter->copy_index, VK_COMMAND_BUFFER_LEVEL_PRIMARY, frames);
    if(device == nullptr) Log::printf(Log::Error, "VKDevice::createCopyDevice(): can't create device\n");
    return device;
}

Buffer *VKDevice::createBuffer() { return new VKBuffer(context); }

Shader *VKDevice::createShader() { return new VKShader(context); }

Kernel *VKDevice::createKernel(const Kernel *kernel) { return new VKKernel(context, cast<VKKernel>(kernel)); }

void VKDevice::releaseKernel(Kernel *kernel) {
    KOLM_ASSERT(kernel && "VKDevice::releaseKernel(): kernel is null");
    cast<VKKernel>(kernel)->release();
}

Compute *VKDevice::createCompute() { return new VKCompute(context, getFeatures()); }

bool VKDevice::set_buffer(Buffer *buffer, size_t offset, const void *src, size_t size) {
    return cast<VKBuffer>(buffer)->set(context, offset, src, size);
}

bool VKDevice::get_buffer(Buffer *buffer, size_t offset, void *dest, size_t size) {
    return cast<VKBuffer>(buffer)->get(context, offset, dest, size);
}

void *VKDevice::map_buffer(Buffer *buffer, size_t offset, size_t size) {
    return cast<VKBuffer>(buffer)->map(offset, size);
}

bool VKDevice::unmap_buffer(Buffer *buffer) { return cast<VKBuffer>(buffer)->unmap(); }

bool VKDevice::copy_buffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) {
    return cast<VKBuffer>(dest)->copy(context, dest_offset, cast<VKBuffer>(src), src_offset, size);
}

bool VKDevice::clear_buffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) {
    return cast<VKBuffer>(buffer)->clear(context, format, offset, value, size);
}

bool VKDevice::flush_buffers(Buffer **buffers, uint32_t num, Buffer::Flags flags) {
    const VkAccessFlags access = VKBuffer::getBufferAccessFlags(flags);
    if(access == 0) return true;
    VKContext::Barriers barriers;
    for(uint32_t i = 0; i < num; i++) {
        cast<VKBuffer>(buffers[i])->setBufferAccess(barriers, context, access, true);
    }
    context->barrier(barriers);
    return true;
}

void VKDevice::release_buffer(Buffer *buffer) { cast<VKBuffer>(buffer)->clear(); }

void VKDevice::setBufferAccess(Buffer *buffer, VkAccessFlags access) {
    KOLM_ASSERT(buffer && "VKDevice::setBufferAccess(): buffer is null");
    cast<VKBuffer>(buffer)->setBufferAccess(access);
}

bool VKDevice::waitVKFence(VkFence fence, uint64_t timeout, bool reset) {
    KOLM_ASSERT(fence && "VKDevice::waitVKFence(): fence is null");
    const VkResult result = adapter->vkWaitForFences(context->getDevice(), 1, &fence, VK_TRUE, timeout);
    if(result == VK_TIMEOUT || adapter->error(result)) return false;
    return (!reset || !adapter->error(adapter->vkResetFences(context->getDevice(), 1, &fence)));
}

bool VKDevice::flush() {
    check_transfer({*this, "Device", "flush"});
    return context->flush(false);
}

bool VKDevice::finish() {
    check_transfer({*this, "Device", "finish"});
    return context->finish(true, false);
}

bool VKDevice::check() { return !adapter->isLost(); }

namespace {

uint32_t get_num_adapters() {
    VK::retain();
    const uint32_t num = (VK::isOpened() || VK::open()) ? VK::getNumAdapters() : 0;
    VK::release();
    return num;
}

Offscreen *create_offscreen(uint32_t index) { return new VKOffscreen(index); }

Surface *create_surface(Offscreen *offscreen) {
    return new VKSurface(offscreen ? static_cast<VKOffscreen *>(offscreen)->getContext() : nullptr);
}

Device *create_device(Offscreen *offscreen) { return new VKDevice(static_cast<VKOffscreen *>(offscreen)); }

Device *create_surface_device(Surface *surface) {
    VKSurface *vk_surface = static_cast<VKSurface *>(surface);
    if(vk_surface->getContext()) return new VKDevice(vk_surface);
    Log::printf(Log::Error, "VKDevice::VKDevice(): surface has no context\n");
    return nullptr;
}

const Backend backend(PlatformVK, {get_num_adapters, create_offscreen, create_surface, create_device,
                                   create_surface_device, VK::setValidation});

} // namespace

} // namespace Kolm
