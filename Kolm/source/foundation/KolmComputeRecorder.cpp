// KolmComputeRecorder.cpp: the rules of the compute recorder, in the order of the calls.

#include "KolmComputeRecorder.h"

namespace Kolm {

ComputeRecorder::ComputeRecorder(uint32_t index, const Device::Features &features)
    : SlotRecorder(index, "Compute", features) {
    const uint32_t limits[3] = {features.maxGroupCountX, features.maxGroupCountY, features.maxGroupCountZ};
    for(uint32_t i = 0; i < 3; i++) max_groups[i] = (limits[i]) ? limits[i] : ~0u;
}

// what a backend may leave out

void ComputeRecorder::bind_traversal(Traversal *) { refuse("setTraversal", "traversals"); }
bool ComputeRecorder::record_trace(uint32_t, uint32_t, uint32_t) { return refuse("dispatch", "traversals"); }
bool ComputeRecorder::record_set_texture(Texture *, const Origin &, const Slice &, const Image &, const Slice &) {
    return refuse("setTexture", "textures");
}
bool ComputeRecorder::record_copy_texture(Texture *, const Origin &, const Slice &, Texture *, const Region &,
                                          const Slice &) {
    return refuse("copyTexture", "textures");
}
bool ComputeRecorder::record_clear_texture(Texture *, const Region &, const Slice &, const void *) {
    return refuse("clearTexture", "textures");
}
void ComputeRecorder::record_texture_barrier(Texture **, uint32_t) { refuse("barrier", "textures"); }

// kernel and traversal

void ComputeRecorder::setKernel(Kernel *new_kernel) {
    if(new_kernel == kernel && traversal == nullptr) return;
    set_object(get_caller("setKernel"), new_kernel);
    kernel = new_kernel;
    traversal = nullptr;
    bind_kernel(kernel);
}

void ComputeRecorder::setTraversal(Traversal *new_traversal) {
    if(new_traversal == traversal && kernel == nullptr) return;
    set_object(get_caller("setTraversal"), new_traversal);
    kernel = nullptr;
    traversal = new_traversal;
    bind_traversal(traversal);
}

// work

uint32_t ComputeRecorder::get_groups(const Caller &caller, const char *name, uint32_t threads, uint32_t group_size) {
    if(threads < 2) return threads;
    if(KOLM_UNLIKELY(group_size == 0)) caller.fail("kernel group %s is undefined", name);
    return threads / group_size + (threads % group_size != 0);
}

void ComputeRecorder::dispatch(uint32_t width, uint32_t height, uint32_t depth) {
    const Caller caller = get_caller("dispatch");
    check_object(caller);
    if(KOLM_UNLIKELY(traversal != nullptr)) {
        if(!check_slots(caller)) return;
        if(record_trace(width, height, depth)) update_mask = 0;
        return;
    }
    width = get_groups(caller, "width", width, kernel->getGroupWidth());
    height = get_groups(caller, "height", height, kernel->getGroupHeight());
    depth = get_groups(caller, "depth", depth, kernel->getGroupDepth());
    if(KOLM_UNLIKELY(width > max_groups[0] || height > max_groups[1] || depth > max_groups[2])) {
        caller.error("%ux%ux%u groups of %s kernel are above the limit of %ux%ux%u", width, height, depth,
                     Caller::getText(kernel), max_groups[0], max_groups[1], max_groups[2]);
        return;
    }
    if(!check_slots(caller)) return;
    if(record_dispatch(width, height, depth)) update_mask = 0;
}

void ComputeRecorder::dispatchIndirect() {
    const Caller caller = get_caller("dispatchIndirect");
    if(KOLM_UNLIKELY(kernel == nullptr)) caller.fail("kernel is null");
    if(KOLM_UNLIKELY(!indirect.isSet())) caller.fail("indirect buffer is null");
    if(KOLM_UNLIKELY(indirect.size < sizeof(DispatchIndirect))) {
        caller.fail("invalid indirect size %zu: %zu bytes are read", indirect.size, sizeof(DispatchIndirect));
    }
    if(!check_slots(caller)) return;
    if(record_dispatch_indirect()) update_mask = 0;
}

// transfers

bool ComputeRecorder::setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size) {
    const Caller caller = get_caller("setBuffer");
    caller.checkCreated("buffer", buffer);
    if(KOLM_UNLIKELY(size && src == nullptr)) caller.fail("data is null");
    if(!buffer->check_set(offset, size)) return false;
    return (size == 0 || record_set(buffer, offset, src, size));
}

bool ComputeRecorder::copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) {
    const Caller caller = get_caller("copyBuffer");
    caller.checkCreated("buffer", dest);
    caller.checkCreated("buffer", src);
    if(!dest->check_copy(dest_offset, src, src_offset, size)) return false;
    return (size == 0 || record_copy(dest, dest_offset, src, src_offset, size));
}

bool ComputeRecorder::clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) {
    get_caller("clearBuffer").checkCreated("buffer", buffer);
    if(!buffer->check_clear(offset, size)) return false;
    bool status = true;
    Buffer::get_clear_value(format, value, &status);
    if(!status) return false;
    return (size == 0 || record_clear(buffer, format, offset, value, size));
}

bool ComputeRecorder::setTexture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                                 const Slice &image_slice) {
    get_caller("setTexture").checkCreated("texture", texture);
    return (texture->check_set(origin, dest_slice, image, image_slice) &&
            record_set_texture(texture, origin, dest_slice, image, image_slice));
}

bool ComputeRecorder::copyTexture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src,
                                  const Region &region, const Slice &src_slice) {
    const Caller caller = get_caller("copyTexture");
    caller.checkCreated("dest texture", dest);
    caller.checkFlag("src texture", src, Texture::FlagSource);
    return (dest->check_copy(origin, dest_slice, src, region, src_slice) &&
            record_copy_texture(dest, origin, dest_slice, src, region, src_slice));
}

bool ComputeRecorder::clearTexture(Texture *texture, const Region &region, const Slice &slice, const void *value) {
    get_caller("clearTexture").checkCreated("texture", texture);
    return (texture->check_clear(region, slice) && record_clear_texture(texture, region, slice, value));
}

void ComputeRecorder::barrier(Texture **textures, uint32_t num) {
    const Caller caller = get_caller("barrier");
    caller.checkList("textures", textures, num);
    for(uint32_t i = 0; i < num; i++) caller.checkCreated("texture", textures[i]);
    if(num) record_texture_barrier(textures, num);
}

void ComputeRecorder::barrier(Buffer **buffers, uint32_t num) {
    const Caller caller = get_caller("barrier");
    caller.checkList("buffers", buffers, num);
    for(uint32_t i = 0; i < num; i++) caller.checkCreated("buffer", buffers[i]);
    if(num) record_barrier(buffers, num);
}

} // namespace Kolm
