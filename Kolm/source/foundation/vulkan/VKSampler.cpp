#include "VKSampler.h"

#include "KolmLog.h"

namespace Kolm {

namespace {

VkFilter get_filter(Sampler::Filter filter) {
    switch(filter) {
    case Sampler::FilterPoint:
    case Sampler::FilterBipoint: return VK_FILTER_NEAREST;
    case Sampler::FilterLinear:
    case Sampler::FilterBilinear:
    case Sampler::FilterTrilinear: return VK_FILTER_LINEAR;
    case Sampler::NumFilters: break;
    }
    return VK_FILTER_LINEAR;
}

VkSamplerMipmapMode get_mipmap_mode(Sampler::Filter filter) {
    const bool linear = (filter == Sampler::FilterLinear || filter == Sampler::FilterTrilinear);
    return linear ? VK_SAMPLER_MIPMAP_MODE_LINEAR : VK_SAMPLER_MIPMAP_MODE_NEAREST;
}

VkSamplerAddressMode get_address_mode(Sampler::WrapMode mode) {
    switch(mode) {
    case Sampler::WrapModeClamp: return VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE;
    case Sampler::WrapModeRepeat: return VK_SAMPLER_ADDRESS_MODE_REPEAT;
    case Sampler::WrapModeMirror: return VK_SAMPLER_ADDRESS_MODE_MIRRORED_REPEAT;
    case Sampler::WrapModeBorder: return VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_BORDER;
    case Sampler::NumWrapModes: break;
    }
    return VK_SAMPLER_ADDRESS_MODE_REPEAT;
}

VkCompareOp get_compare_op(Sampler::CompareFunc func) {
    switch(func) {
    case Sampler::CompareFuncNone: return VK_COMPARE_OP_ALWAYS;
    case Sampler::CompareFuncEqual: return VK_COMPARE_OP_EQUAL;
    case Sampler::CompareFuncLess: return VK_COMPARE_OP_LESS;
    case Sampler::CompareFuncGreater: return VK_COMPARE_OP_GREATER;
    case Sampler::CompareFuncNotEqual: return VK_COMPARE_OP_NOT_EQUAL;
    case Sampler::CompareFuncLessEqual: return VK_COMPARE_OP_LESS_OR_EQUAL;
    case Sampler::CompareFuncGreaterEqual: return VK_COMPARE_OP_GREATER_OR_EQUAL;
    case Sampler::NumCompareFunctions: break;
    }
    return VK_COMPARE_OP_ALWAYS;
}

VkSamplerReductionMode get_reduction_mode(Sampler::ReductionMode mode) {
    switch(mode) {
    case Sampler::ReductionModeAverage: return VK_SAMPLER_REDUCTION_MODE_WEIGHTED_AVERAGE;
    case Sampler::ReductionModeMin: return VK_SAMPLER_REDUCTION_MODE_MIN;
    case Sampler::ReductionModeMax: return VK_SAMPLER_REDUCTION_MODE_MAX;
    case Sampler::NumReductionModes: break;
    }
    return VK_SAMPLER_REDUCTION_MODE_WEIGHTED_AVERAGE;
}

// The nearest of the three colours that every device has.
VkBorderColor get_border_color(const Color &color) {
    if(color.a < 0.5f) return VK_BORDER_COLOR_FLOAT_TRANSPARENT_BLACK;
    const bool white = (color.r + color.g + color.b >= 1.5f);
    return white ? VK_BORDER_COLOR_FLOAT_OPAQUE_WHITE : VK_BORDER_COLOR_FLOAT_OPAQUE_BLACK;
}

} // namespace

VKSampler::VKSampler(VKContext *context, const Sampler *sampler)
    : Sampler(context->getAdapter()->getIndex(), sampler), adapter(context->getAdapter()), context(context->retain()) {}

VKSampler::~VKSampler() {
    release();
    VKContext::release(context);
}

void VKSampler::release() {
    context->releaseSampler(sampler);
    sampler = VK_NULL_HANDLE;
}

void VKSampler::clear() {
    release();
    Sampler::clear();
}

bool VKSampler::create() {
    KOLM_ASSERT(!isCreated() && "VKSampler::create(): is already created");
    const VkPhysicalDeviceLimits &limits = adapter->getLimits();
    auto info = vk_record<VkSamplerCreateInfo>(VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO);
    info.magFilter = get_filter(filter);
    info.minFilter = get_filter(filter);
    info.mipmapMode = get_mipmap_mode(filter);
    info.addressModeU = get_address_mode(wrap_mode_s);
    info.addressModeV = get_address_mode(wrap_mode_t);
    info.addressModeW = get_address_mode(wrap_mode_r);
    info.mipLodBias = clamp(lod_bias, -limits.maxSamplerLodBias, limits.maxSamplerLodBias);
    // Levels beyond 1000 stand for no limit.
    info.minLod = clamp(lod_min, -VK_LOD_CLAMP_NONE, VK_LOD_CLAMP_NONE);
    info.maxLod = clamp(lod_max, -VK_LOD_CLAMP_NONE, VK_LOD_CLAMP_NONE);
    info.borderColor = get_border_color(border_color);
    // More samples of the nearest pixel are no better than one.
    if(adapter->getFeatures().samplerAnisotropy && hasAnisotropy() && info.minFilter == VK_FILTER_LINEAR) {
        info.anisotropyEnable = VK_TRUE;
        info.maxAnisotropy = min(float32_t(anisotropy), limits.maxSamplerAnisotropy);
    }
    if(compare_func != CompareFuncNone) {
        info.compareEnable = VK_TRUE;
        info.compareOp = get_compare_op(compare_func);
    }
    auto reduction = vk_record<VkSamplerReductionModeCreateInfo>(VK_STRUCTURE_TYPE_SAMPLER_REDUCTION_MODE_CREATE_INFO);
    reduction.reductionMode = get_reduction_mode(reduction_mode);
    const bool has_reduction = (reduction_mode != ReductionModeAverage);
    if(has_reduction) info.pNext = &reduction;
    VkSampler new_sampler = VK_NULL_HANDLE;
    if((has_reduction && (!adapter->has_sampler_filter_minmax_ext || info.compareEnable)) ||
       VK::error(vkCreateSampler(adapter->getDevice(), &info, nullptr, &new_sampler))) {
        Log::printf(Log::Error, "VKSampler::create(): can't create sampler\n");
        return false;
    }
    sampler = new_sampler;
    return true;
}

} // namespace Kolm
