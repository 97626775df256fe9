// KolmCommandRecorder.cpp: the rules of the draw recorder, in the order of the calls.

#include "KolmCommandRecorder.h"

namespace Kolm {

CommandRecorder::CommandRecorder(uint32_t index, const Device::Features &features, const Target *target)
    : SlotRecorder(index, "Command", features), target(target) {
    update_mask = update_all = UpdateAll | UpdateCommand;
}

bool CommandRecorder::record_draw_mesh(uint32_t, uint32_t, uint32_t) { return refuse("drawMesh", "mesh shaders"); }

RecorderSlots::Slot *CommandRecorder::get_memory_slot(uint32_t number, Transient &type) {
    if(number < Pipeline::NumVertices) return type = TransientVertex, &vertices[number];
    if(number == Pipeline::NumVertices) return type = TransientIndex, &index;
    return Recorder::get_memory_slot(number - Pipeline::NumVertices - 1, type);
}

// pipeline

void CommandRecorder::setPipeline(Pipeline *new_pipeline) {
    if(new_pipeline == pipeline) return;
    const Caller caller = get_caller("setPipeline");
    set_object(caller, new_pipeline);
    pipeline = new_pipeline;
    update_mask |= UpdateCommand;
    if(pipeline && target) {
        for(; num_viewports < pipeline->getNumViewports(); num_viewports++) {
            viewports[num_viewports] = Viewport(float32_t(target->getWidth()), float32_t(target->getHeight()));
        }
        for(; pipeline->getScissorTest() && num_scissors < pipeline->getNumViewports(); num_scissors++) {
            scissors[num_scissors] = Scissor(int32_t(target->getWidth()), int32_t(target->getHeight()));
        }
    }
    bind_pipeline(pipeline);
}

// viewports and scissors

void CommandRecorder::set_viewports(const Caller &caller, uint32_t first, const Viewport *src, uint32_t num) {
    check_object(caller);
    caller.checkList("viewports", src, num);
    const uint32_t count = pipeline->getNumViewports();
    if(first > count || num > count - first) {
        caller.fail("invalid viewport range %u-%llu: %s pipeline has %u", first,
                    static_cast<unsigned long long>(first) + num, Caller::getText(pipeline), count);
    }
    if(first > num_viewports) {
        caller.fail("invalid viewport index %u: %u are set before it", first, num_viewports);
    }
    for(uint32_t i = 0; i < num; i++) {
        const Viewport &v = src[i];
        // Written so that NaN fails.
        if(!(v.width > 0.0f && v.height > 0.0f && v.znear >= 0.0f && v.znear <= 1.0f && v.zfar >= 0.0f &&
             v.zfar <= 1.0f)) {
            caller.fail("invalid viewport %gx%g %g-%g: sizes above 0 and depths in 0-1 are needed", v.width, v.height,
                        v.znear, v.zfar);
        }
        if(first + i < num_viewports && viewports[first + i] == v) continue;
        viewports[first + i] = v;
        update_mask |= UpdateViewport;
    }
    num_viewports = max(num_viewports, first + num);
}

void CommandRecorder::set_scissors(const Caller &caller, uint32_t first, const Scissor *src, uint32_t num) {
    check_object(caller);
    caller.checkList("scissors", src, num);
    const uint32_t count = pipeline->getNumViewports();
    if(first > count || num > count - first) {
        caller.fail("invalid scissor range %u-%llu: %s pipeline has %u", first,
                    static_cast<unsigned long long>(first) + num, Caller::getText(pipeline), count);
    }
    if(first > num_scissors) caller.fail("invalid scissor index %u: %u are set before it", first, num_scissors);
    for(uint32_t i = 0; i < num; i++) {
        const Scissor &s = src[i];
        if(s.x < 0 || s.y < 0 || s.width < 0 || s.height < 0 || s.width > INT32_MAX - s.x ||
           s.height > INT32_MAX - s.y) {
            caller.fail("invalid scissor %d,%d %dx%d: no negative values are allowed", s.x, s.y, s.width, s.height);
        }
        if(first + i < num_scissors && scissors[first + i] == s) continue;
        scissors[first + i] = s;
        update_mask |= UpdateScissor;
    }
    num_scissors = max(num_scissors, first + num);
}

void CommandRecorder::setViewport(uint32_t first, const Viewport &viewport) {
    set_viewports(get_caller("setViewport"), first, &viewport, 1);
}
void CommandRecorder::setViewports(const Viewport *src, uint32_t num) {
    set_viewports(get_caller("setViewports"), 0, src, num);
}
void CommandRecorder::setScissor(uint32_t first, const Scissor &scissor) {
    set_scissors(get_caller("setScissor"), first, &scissor, 1);
}
void CommandRecorder::setScissors(const Scissor *src, uint32_t num) {
    set_scissors(get_caller("setScissors"), 0, src, num);
}

// vertices and indices

CommandRecorder::SlotKind CommandRecorder::get_vertex_kind() {
    return {"vertex", Buffer::FlagVertex, TransientVertex, vertices, (pipeline) ? pipeline->getNumVertices() : 0, 4, 0,
            false,    UpdateVertex,       UpdateVertex,    nullptr};
}

CommandRecorder::SlotKind CommandRecorder::get_index_kind(const Caller &caller, Format format) {
    check_object(caller);
    if(format != FormatRu16 && format != FormatRu32) {
        caller.fail("unknown buffer format %s: Ru16 and Ru32 are known",
                    Kolm::getFormatName(uint32_t(format) < NumFormats ? format : FormatUnknown));
    }
    if(index_format != format) update_mask |= UpdateIndex;
    index_format = format;
    return {"index", Buffer::FlagIndex, TransientIndex, &index, 1, get_index_size(), 0,
            false,   UpdateIndex,       UpdateIndex,    nullptr};
}

void *CommandRecorder::getVertexData(uint32_t slot, size_t size) {
    return get_data(get_vertex_kind(), get_caller("getVertexData"), slot, size);
}
void CommandRecorder::setVertexData(uint32_t slot, const void *src, size_t size) {
    set_data(get_vertex_kind(), get_caller("setVertexData"), slot, src, size);
}
void CommandRecorder::setVertexBuffer(uint32_t slot, Buffer *buffer, size_t offset) {
    set_buffer(get_vertex_kind(), get_caller("setVertexBuffer"), slot, buffer, offset, 0);
}
void CommandRecorder::setVertexBuffers(uint32_t slot, Buffer **buffers, uint32_t num, const size_t *offsets) {
    set_buffers(get_vertex_kind(), get_caller("setVertexBuffers"), slot, buffers, num, offsets);
}
void CommandRecorder::setVertexOffset(uint32_t slot, size_t offset, bool relative) {
    set_offset(get_vertex_kind(), get_caller("setVertexOffset"), slot, offset, relative);
}

void *CommandRecorder::getIndexData(Format format, size_t size) {
    const Caller caller = get_caller("getIndexData");
    return get_data(get_index_kind(caller, format), caller, 0, size);
}
void CommandRecorder::setIndexData(Format format, const void *src, size_t size) {
    const Caller caller = get_caller("setIndexData");
    set_data(get_index_kind(caller, format), caller, 0, src, size);
}
void CommandRecorder::setIndexBuffer(Format format, Buffer *buffer, size_t offset) {
    const Caller caller = get_caller("setIndexBuffer");
    set_buffer(get_index_kind(caller, format), caller, 0, buffer, offset, 0);
}
void CommandRecorder::setIndexOffset(size_t offset, bool relative) {
    const Caller caller = get_caller("setIndexOffset");
    check_object(caller);
    if(!index.isSet()) caller.fail("index buffer is null");
    set_offset(get_index_kind(caller, index_format), caller, 0, offset, relative);
}

// dynamic state

void CommandRecorder::setBlendColor(const Color &color) {
    if(blend_color == color) return;
    blend_color = color;
    update_mask |= UpdateBlendColor;
}

void CommandRecorder::setStencilRef(uint32_t ref) {
    if(ref > 255) get_caller("setStencilRef").fail("invalid stencil reference %u: the limit is 255", ref);
    if(stencil_ref == ref) return;
    stencil_ref = ref;
    update_mask |= UpdateStencilRef;
}

// draws

// Slots, vertices and viewports of a draw. Mistakes end the process; what was left empty skips the call.
bool CommandRecorder::check_new_draw(const Caller &caller, DrawType type) {
    check_object(caller);
    const bool has_mesh = (pipeline->getMeshShader() != nullptr);
    if(has_mesh != (type == DrawMesh)) {
        caller.fail("invalid pipeline: %s pipeline has %s mesh shader", Caller::getText(pipeline),
                    (has_mesh) ? "a" : "no");
    }
    if(!check_slots(caller)) return false;
    for(uint32_t i = 0; i < pipeline->getNumVertices() && type != DrawMesh; i++) {
        bool used = false;
        for(uint32_t j = 0; j < pipeline->getNumAttributes(); j++) used |= (pipeline->getAttributeVertex(j) == i);
        if(!used || vertices[i].isSet()) continue;
        return caller.error("vertex buffer %u of %s pipeline is not set", i, Caller::getText(pipeline));
    }
    if(type == DrawElements && !index.isSet()) {
        return caller.error("index buffer of %s pipeline is not set", Caller::getText(pipeline));
    }
    if(num_viewports < pipeline->getNumViewports()) {
        return caller.error("viewport %u of %s pipeline is not set", num_viewports, Caller::getText(pipeline));
    }
    if(pipeline->getScissorTest() && num_scissors < pipeline->getNumViewports()) {
        return caller.error("scissor %u of %s pipeline is not set", num_scissors, Caller::getText(pipeline));
    }
    checked_types |= (1u << type);
    return true;
}

void CommandRecorder::drawArrays(uint32_t num_vertices, uint32_t base_vertex) {
    if(!check_draw(get_caller("drawArrays"), DrawArrays)) return;
    if(record_draw_arrays(num_vertices, base_vertex, 1, 0)) update_mask = 0;
}

void CommandRecorder::drawArraysInstanced(uint32_t num_vertices, uint32_t base_vertex, uint32_t num_instances,
                                          uint32_t base_instance) {
    if(!check_draw(get_caller("drawArraysInstanced"), DrawArrays)) return;
    if(record_draw_arrays(num_vertices, base_vertex, num_instances, base_instance)) update_mask = 0;
}

void CommandRecorder::draw_elements(const Caller &caller, uint32_t num_indices, uint32_t base_index,
                                    int32_t base_vertex, uint32_t num_instances, uint32_t base_instance) {
    if(!check_draw(caller, DrawElements)) return;
    const uint64_t end = uint64_t(base_index) + num_indices;
    if(KOLM_UNLIKELY(end * get_index_size() > index.size)) {
        caller.error("invalid index range %u-%llu: %s buffer has %zu", base_index, static_cast<unsigned long long>(end),
                     (index.buffer) ? Caller::getText(index.buffer) : "transient", index.size / get_index_size());
        return;
    }
    if(record_draw_elements(num_indices, base_index, base_vertex, num_instances, base_instance)) update_mask = 0;
}

void CommandRecorder::drawElements(uint32_t num_indices, uint32_t base_index, int32_t base_vertex) {
    draw_elements(get_caller("drawElements"), num_indices, base_index, base_vertex, 1, 0);
}
void CommandRecorder::drawElementsInstanced(uint32_t num_indices, uint32_t base_index, uint32_t num_instances) {
    draw_elements(get_caller("drawElementsInstanced"), num_indices, base_index, 0, num_instances, 0);
}
void CommandRecorder::drawElementsInstanced(uint32_t num_indices, uint32_t base_index, int32_t base_vertex,
                                            uint32_t num_instances, uint32_t base_instance) {
    draw_elements(get_caller("drawElementsInstanced"), num_indices, base_index, base_vertex, num_instances,
                  base_instance);
}

void CommandRecorder::drawMesh(uint32_t width, uint32_t height, uint32_t depth) {
    const Caller caller = get_caller("drawMesh");
    if(!check_draw(caller, DrawMesh)) return;
    const uint64_t num = uint64_t(width) * height;
    if(features.maxTaskCount && (num > features.maxTaskCount || num * depth > features.maxTaskCount)) {
        caller.error("%ux%ux%u groups of %s pipeline are above the limit of %u", width, height, depth,
                     Caller::getText(pipeline), features.maxTaskCount);
        return;
    }
    if(record_draw_mesh(width, height, depth)) update_mask = 0;
}

void CommandRecorder::draw_indirect(const Caller &caller, DrawType type, const Slot &source, uint32_t num,
                                    size_t stride) {
    static constexpr size_t sizes[NumDrawTypes] = {sizeof(DrawArraysIndirect), sizeof(DrawElementsIndirect),
                                                   sizeof(DrawMeshIndirect)};
    if(!source.isSet()) caller.fail("indirect buffer is null");
    const size_t size = sizes[type];
    if(stride == 0) stride = size;
    if(stride % 4 || (num > 1 && stride < size) || stride > UINT32_MAX) {
        caller.fail("invalid stride %zu: a multiple of 4 is needed, and %zu at least", stride, size);
    }
    if(!check_draw(caller, type)) return;
    if(num == 0) return;
    if(source.size < size || (num > 1 && stride > (source.size - size) / (num - 1))) {
        caller.error("invalid indirect range of %u records: %s buffer has %zu bytes", num,
                     (source.buffer) ? Caller::getText(source.buffer) : "transient", source.size);
        return;
    }
    const bool has_count = (type == DrawMesh) ? features.taskIndirectCount : features.drawIndirectCount;
    if(has_count || num == 1) {
        if(record_draw_indirect(type, source, num, stride)) update_mask = 0;
        return;
    }
    for(uint32_t i = 0; i < num; i++) {
        Slot record = source;
        record.offset += stride * i;
        record.size = size;
        if(!record_draw_indirect(type, record, 1, stride)) return;
        update_mask = 0;
    }
}

void CommandRecorder::draw_indirect(const Caller &caller, DrawType type, Buffer *buffer, size_t offset, uint32_t num,
                                    size_t stride) {
    check_object(caller);
    caller.checkFlag("buffer", buffer, Buffer::FlagIndirect);
    if(offset % 4) caller.fail("invalid indirect offset %zu: a multiple of 4 is needed", offset);
    if(offset >= buffer->getSize()) {
        caller.fail("invalid indirect offset %zu: %s buffer has %zu bytes", offset, Caller::getText(buffer),
                    buffer->getSize());
    }
    Slot slot;
    slot.buffer = buffer;
    slot.total = buffer->getSize();
    slot.offset = offset;
    slot.size = buffer->getSize() - offset;
    draw_indirect(caller, type, slot, num, stride);
}

void CommandRecorder::drawArraysIndirect(uint32_t num, size_t stride) {
    draw_indirect(get_caller("drawArraysIndirect"), DrawArrays, indirect, num, stride);
}
void CommandRecorder::drawArraysIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride) {
    draw_indirect(get_caller("drawArraysIndirect"), DrawArrays, buffer, offset, num, stride);
}
void CommandRecorder::drawElementsIndirect(uint32_t num, size_t stride) {
    draw_indirect(get_caller("drawElementsIndirect"), DrawElements, indirect, num, stride);
}
void CommandRecorder::drawElementsIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride) {
    draw_indirect(get_caller("drawElementsIndirect"), DrawElements, buffer, offset, num, stride);
}
void CommandRecorder::drawMeshIndirect(uint32_t num, size_t stride) {
    draw_indirect(get_caller("drawMeshIndirect"), DrawMesh, indirect, num, stride);
}
void CommandRecorder::drawMeshIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride) {
    draw_indirect(get_caller("drawMeshIndirect"), DrawMesh, buffer, offset, num, stride);
}

} // namespace Kolm
