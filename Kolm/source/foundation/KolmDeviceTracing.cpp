// KolmDeviceTracing.cpp: operations on acceleration structures, queries and fences: their rules and short forms.

#include "KolmCaller.h"
#include "KolmDevice.h"

namespace Kolm {

namespace {

// \p num records of \p size bytes at \p stride.
bool check_records(const Caller &caller, const Buffer *buffer, size_t offset, uint32_t num, size_t size,
                   size_t stride) {
    caller.checkCreated("buffer", buffer);
    if(offset % 8 || stride % 8 || (num > 1 && stride < size)) {
        return caller.error("invalid offset %zu and stride %zu: multiples of 8 are needed, and a stride of %zu", offset,
                            stride, size);
    }
    const size_t total = buffer->getSize();
    if(offset < total && size <= total - offset && (num < 2 || stride <= (total - offset - size) / (num - 1)))
        return true;
    return caller.error("invalid range of %u records from %zu on: %s buffer has %zu bytes", num, offset,
                        Caller::getText(buffer), total);
}

} // namespace

// factories

Tracing *Device::createTracing(uint32_t num_instances, Buffer *buffer, size_t offset, Tracing::Flags flags) {
    Tracing *tracing = createTracing();
    return (tracing) ? get_created(tracing, tracing->setInstances(num_instances, buffer, offset).create(flags))
                     : nullptr;
}

Tracing *Device::createTracing(uint32_t num_vertices, Format vertex_format, size_t vertex_stride, uint32_t num_indices,
                               Format index_format, Tracing::Flags flags) {
    Tracing *tracing = createTracing();
    if(tracing == nullptr) return nullptr;
    tracing->addGeometry(num_vertices, vertex_format, vertex_stride, num_indices, index_format);
    return get_created(tracing, tracing->create(flags));
}

Tracing *Device::createTracing(uint32_t num_bounds, size_t stride, Buffer *buffer, size_t offset,
                               Tracing::Flags flags) {
    Tracing *tracing = createTracing();
    if(tracing == nullptr) return nullptr;
    tracing->addBounds(num_bounds, stride, buffer, offset);
    return get_created(tracing, tracing->create(flags));
}

Query *Device::createQuery(Query::Type type) {
    Query *query = createQuery();
    return (query) ? get_created(query, query->create(type)) : nullptr;
}

Fence *Device::createFence(Fence *src) {
    Fence *fence = createFence();
    return (fence) ? get_created(fence, fence->create(src)) : nullptr;
}

Fence *Device::createFence(Fence::Flags flags) {
    Fence *fence = createFence();
    return (fence) ? get_created(fence, fence->create(flags)) : nullptr;
}

// acceleration structures

bool Device::setTracing(Tracing *tracing, const Tracing::Instance *instances, uint32_t num) {
    const Caller caller = {*this, "Device", "setTracing"};
    caller.checkCreated("tracing", tracing);
    caller.checkList("instances", instances, num);
    check_transfer(caller);
    return (tracing->check_instances(caller, instances, num) && (num == 0 || set_tracing(tracing, instances, num)));
}

bool Device::buildTracing(Tracing *tracing, Buffer *scratch, size_t offset, Tracing::Flags flags) {
    return buildTracings(&tracing, 1, scratch, offset, flags);
}

bool Device::buildTracings(Tracing **tracings, uint32_t num, Buffer *scratch, size_t offset, Tracing::Flags flags) {
    const Caller caller = {*this, "Device", "buildTracings"};
    caller.checkList("tracings", tracings, num);
    check_transfer(caller);
    if(num == 0) return true;
    ArrayStack<size_t, 64> offsets;
    offsets.resize(num);
    for(uint32_t i = 0; i < num; i++) {
        const Tracing *tracing = tracings[i];
        caller.checkCreated("tracing", tracing);
        if(!tracing->check_build(caller, scratch, offset, flags)) return false;
        offsets[i] = offset;
        const bool update = (flags & Tracing::FlagUpdate) && tracing->isBuilt();
        offset += (update) ? tracing->getUpdateSize() : tracing->getBuildSize();
        const size_t alignment = tracing->getScratchAlignment();
        offset = (offset + alignment - 1) / alignment * alignment;
    }
    if(!build_tracings(tracings, num, scratch, offsets.get(), flags)) return false;
    for(uint32_t i = 0; i < num; i++) tracings[i]->is_built = true;
    return true;
}

bool Device::copyTracing(Tracing *tracing, Buffer *buffer, size_t offset) {
    return copyTracings(&tracing, 1, buffer, offset, 8);
}

bool Device::copyTracings(Tracing **tracings, uint32_t num, Buffer *buffer, size_t offset, size_t stride) {
    const Caller caller = {*this, "Device", "copyTracings"};
    caller.checkList("tracings", tracings, num);
    check_transfer(caller);
    for(uint32_t i = 0; i < num; i++) {
        caller.checkCreated("tracing", tracings[i]);
        if(!tracings[i]->hasFlag(Tracing::FlagCompact))
            return caller.error("%s tracing needs the flag Compact", Caller::getText(tracings[i]));
        if(!tracings[i]->isBuilt()) return caller.error("%s tracing is not built", Caller::getText(tracings[i]));
    }
    if(num == 0) return true;
    return (check_records(caller, buffer, offset, num, 8, stride) &&
            copy_tracings(tracings, num, buffer, offset, stride));
}

bool Device::compactTracing(Tracing *tracing) {
    const Caller caller = {*this, "Device", "compactTracing"};
    caller.checkCreated("tracing", tracing);
    check_transfer(caller);
    if(!tracing->hasFlag(Tracing::FlagCompact))
        return caller.error("%s tracing needs the flag Compact", Caller::getText(tracing));
    if(!tracing->isBuilt()) return caller.error("%s tracing is not built", Caller::getText(tracing));
    return compact_tracing(tracing);
}

bool Device::flushTracing(Tracing *tracing) { return flushTracings(&tracing, 1); }

bool Device::flushTracings(Tracing **tracings, uint32_t num) {
    const Caller caller = {*this, "Device", "flushTracings"};
    caller.checkList("tracings", tracings, num);
    check_transfer(caller);
    for(uint32_t i = 0; i < num; i++) caller.checkCreated("tracing", tracings[i]);
    return (num == 0 || flush_tracings(tracings, num));
}

void Device::releaseTracing(Tracing *tracing) {
    Caller{*this, "Device", "releaseTracing"}.checkPlatform("tracing", tracing);
    release_tracing(tracing);
}

bool Device::buildTracings(const std::initializer_list<Tracing *> &tracings, Buffer *scratch, size_t offset,
                           Tracing::Flags flags) {
    return buildTracings(const_cast<Tracing **>(tracings.begin()), uint32_t(tracings.size()), scratch, offset, flags);
}

bool Device::copyTracings(const std::initializer_list<Tracing *> &tracings, Buffer *buffer, size_t offset,
                          size_t stride) {
    return copyTracings(const_cast<Tracing **>(tracings.begin()), uint32_t(tracings.size()), buffer, offset, stride);
}

bool Device::flushTracings(const std::initializer_list<Tracing *> &tracings) {
    return flushTracings(const_cast<Tracing **>(tracings.begin()), uint32_t(tracings.size()));
}

// queries

bool Device::beginQuery(Query *query) {
    const Caller caller = {*this, "Device", "beginQuery"};
    caller.checkCreated("query", query);
    if(query->is_begun) caller.fail("%s query is already begun", Caller::getText(query));
    query->is_ended = false;
    return query->is_begun = begin_query(query);
}

bool Device::endQuery(Query *query) {
    const Caller caller = {*this, "Device", "endQuery"};
    caller.checkCreated("query", query);
    if(!query->is_begun) caller.fail("%s query is not begun", Caller::getText(query));
    query->is_begun = false;
    return query->is_ended = end_query(query);
}

bool Device::copyQuery(Query *query, Buffer *buffer, size_t offset) {
    return copyQueries(&query, 1, buffer, offset, 0);
}

bool Device::copyQueries(Query **queries, uint32_t num, Buffer *buffer, size_t offset, size_t stride) {
    const Caller caller = {*this, "Device", "copyQueries"};
    caller.checkList("queries", queries, num);
    check_transfer(caller);
    size_t size = 8;
    for(uint32_t i = 0; i < num; i++) {
        caller.checkCreated("query", queries[i]);
        if(!queries[i]->is_ended) return caller.error("%s query is not ended", Caller::getText(queries[i]));
        size = max(size, size_t(queries[i]->getNumValues()) * 8);
    }
    if(num == 0) return true;
    if(stride == 0) stride = size;
    return (check_records(caller, buffer, offset, num, size, stride) &&
            copy_queries(queries, num, buffer, offset, stride));
}

bool Device::copyQueries(const std::initializer_list<Query *> &queries, Buffer *buffer, size_t offset, size_t stride) {
    return copyQueries(const_cast<Query **>(queries.begin()), uint32_t(queries.size()), buffer, offset, stride);
}

// fences

void Device::check_fence(const Caller &caller, const Fence *fence) const {
    if(fence) caller.checkCreated("fence", fence);
}

bool Device::waitFence(Fence *fence) {
    const Caller caller = {*this, "Device", "waitFence"};
    caller.checkCreated("fence", fence);
    return (fence->fence_value == 0 || wait_fence(fence));
}

bool Device::signalFence(Fence *fence) {
    const Caller caller = {*this, "Device", "signalFence"};
    caller.checkCreated("fence", fence);
    check_transfer(caller);
    fence->fence_value++;
    if(signal_fence(fence)) return true;
    fence->fence_value--;
    return false;
}

bool Device::flip(Fence *fence) {
    const Caller caller = {*this, "Device", "flip"};
    check_fence(caller, fence);
    check_transfer(caller);
    if(fence) fence->fence_value++;
    if(flip_frame(fence)) return true;
    if(fence) fence->fence_value--;
    return false;
}

} // namespace Kolm
