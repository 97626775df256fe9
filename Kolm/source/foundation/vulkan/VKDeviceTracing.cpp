// VKDeviceTracing.cpp: acceleration structures, traversals, queries and fences of the device: forwarding with its context.

#include "VKBuffer.h"
#include "VKDevice.h"
#include "VKFence.h"
#include "VKQuery.h"
#include "VKTracing.h"
#include "VKTraversal.h"

namespace Kolm {

// acceleration structures

Tracing *VKDevice::createTracing(const Tracing *tracing) { return new VKTracing(context, cast<VKTracing>(tracing)); }

bool VKDevice::set_tracing(Tracing *tracing, const Tracing::Instance *instances, uint32_t num) {
    return cast<VKTracing>(tracing)->set(context, instances, num);
}

bool VKDevice::build_tracings(Tracing **tracings, uint32_t num, Buffer *scratch, const size_t *offsets,
                              Tracing::Flags flags) {
    ArrayStack<VKTracing *, 64> list;
    list.resize(num);
    for(uint32_t i = 0; i < num; i++) list[i] = cast<VKTracing>(tracings[i]);
    return VKTracing::build(context, list.get(), num, cast<VKBuffer>(scratch), offsets, flags);
}

bool VKDevice::copy_tracings(Tracing **tracings, uint32_t num, Buffer *buffer, size_t offset, size_t stride) {
    for(uint32_t i = 0; i < num; i++) {
        if(!cast<VKTracing>(tracings[i])->copySize(context, cast<VKBuffer>(buffer), offset + stride * i)) return false;
    }
    return true;
}

bool VKDevice::compact_tracing(Tracing *tracing) { return cast<VKTracing>(tracing)->compact(context); }

bool VKDevice::flush_tracings(Tracing **tracings, uint32_t num) {
    VKContext::Barriers barriers;
    for(uint32_t i = 0; i < num; i++) cast<VKTracing>(tracings[i])->setRead(context, barriers);
    context->barrier(barriers);
    return true;
}

void VKDevice::release_tracing(Tracing *tracing) { cast<VKTracing>(tracing)->release(); }

Traversal *VKDevice::createTraversal(const Traversal *traversal) {
    return new VKTraversal(context, cast<VKTraversal>(traversal));
}

void VKDevice::release_traversal(Traversal *traversal) { cast<VKTraversal>(traversal)->release(); }

// queries

bool VKDevice::hasQuery(Query::Type) const { return true; }

Query *VKDevice::createQuery() { return new VKQuery(context); }

bool VKDevice::begin_query(Query *query) { return cast<VKQuery>(query)->begin(context); }

bool VKDevice::end_query(Query *query) { return cast<VKQuery>(query)->end(context); }

bool VKDevice::copy_queries(Query **queries, uint32_t num, Buffer *buffer, size_t offset, size_t stride) {
    for(uint32_t i = 0; i < num; i++) {
        if(!cast<VKQuery>(queries[i])->copy(context, cast<VKBuffer>(buffer), offset + stride * i)) return false;
    }
    return true;
}

// fences

Fence *VKDevice::createFence() { return new VKFence(context); }

bool VKDevice::wait_fence(Fence *fence) { return cast<VKFence>(fence)->wait(context); }

bool VKDevice::signal_fence(Fence *fence) { return cast<VKFence>(fence)->signal(context); }

bool VKDevice::flip_frame(Fence *fence) {
    if(fence && !cast<VKFence>(fence)->signalFlip(context)) return false;
    return context->flip(context->isPrimary(), true);
}

} // namespace Kolm
