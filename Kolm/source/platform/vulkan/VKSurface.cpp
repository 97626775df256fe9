#include "VKSurface.h"

#include "VKContext.h"
#include "VKFormat.h"

namespace Kolm {

VKSurface::VKSurface(VKContext *context) : Surface(0) { setContext(context); }

VKSurface::~VKSurface() { VKContext::release(context); }

void VKSurface::setContext(VKContext *new_context) {
    VKContext *old_context = context;
    context = new_context ? new_context->retain() : nullptr;
    VKContext::release(old_context);
    if(context) set_adapter_index(context->getAdapter()->getIndex());
}

VKAdapter *VKSurface::getAdapter() const { return context ? context->getAdapter() : nullptr; }

VkFormat VKSurface::getColorPixelFormat() const { return getVKFormat(color_format); }

VkFormat VKSurface::getDepthPixelFormat() const { return getVKFormat(depth_format); }

} // namespace Kolm
