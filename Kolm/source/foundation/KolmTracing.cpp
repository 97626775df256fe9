// KolmTracing.cpp: description of acceleration structures, and the rules of their builds.

#include "KolmTracing.h"

#include <stdio.h>

#include "KolmCaller.h"

namespace Kolm {

namespace {

constexpr const char *type_names[Tracing::NumTypes] = {"Unknown", "Geometry", "Bounds", "Instances"};

size_t get_vertex_size(Format format) {
    switch(format) {
    case FormatRGBf32: return 12;
    case FormatRGBAf32: return 16;
    case FormatRGf32:
    case FormatRGBAf16: return 8;
    case FormatRGf16: return 4;
    default: return 0;
    }
}

size_t get_index_size(Format format) { return (format == FormatRu16) ? 2 : (format == FormatRu32) ? 4 : 0; }

} // namespace

Tracing::Tracing(uint32_t index, const Tracing *tracing) : PlatformBase(index) {
    if(tracing) copy_parameters(*tracing);
}

void Tracing::clear() {
    tracing_name.clear();
    tracing_type = TypeUnknown;
    tracing_flags = FlagNone;
    geometries.clear();
    bounds.clear();
    num_instances = 0;
    instance_buffer = nullptr;
    instance_offset = 0;
    tracing_size = build_size = update_size = 0;
    is_built = false;
}

void Tracing::setName(const char *name) { tracing_name = (name) ? name : ""; }

const char *Tracing::getTypeName(Type type) {
    return (uint32_t(type) < NumTypes) ? type_names[type] : type_names[TypeUnknown];
}

String Tracing::getDescription() const {
    uint64_t num = num_instances;
    for(const Geometry &geometry : geometries) {
        num += ((geometry.num_indices) ? geometry.num_indices : geometry.num_vertices) / 3;
    }
    for(const Bounds &bound : bounds) num += bound.num_bounds;
    return String::format("%s %llu", getTypeName(), static_cast<unsigned long long>(num));
}

// description

void Tracing::copy_parameters(const Tracing &tracing) {
    tracing_type = tracing.tracing_type;
    geometries = tracing.geometries;
    bounds = tracing.bounds;
    num_instances = tracing.num_instances;
    instance_buffer = tracing.instance_buffer;
    instance_offset = tracing.instance_offset;
}

Tracing &Tracing::setParameters(const Tracing *tracing) {
    KOLM_ASSERT(tracing && "Tracing::setParameters(): tracing is null");
    KOLM_ASSERT(!isCreated() && "Tracing::setParameters(): tracing is created");
    copy_parameters(*tracing);
    return *this;
}

void Tracing::set_type(const char *method, Type type) {
    const char *text = nullptr;
    if(isCreated())
        text = "tracing is created";
    else if(tracing_type != TypeUnknown && tracing_type != type)
        text = "tracing is of another type";
    if(text) {
        char line[128];
        snprintf(line, sizeof(line), "\"Tracing::%s(): %s\"", method, text);
        assertion(line, __FILE__, __LINE__);
    }
    tracing_type = type;
}

uint32_t Tracing::addGeometry(uint32_t num_vertices, Format vertex_format, size_t vertex_stride) {
    return addGeometry(num_vertices, vertex_format, vertex_stride, 0, FormatUnknown);
}

uint32_t Tracing::addGeometry(uint32_t num_vertices, Format vertex_format, size_t vertex_stride, uint32_t num_indices,
                              Format index_format) {
    set_type("addGeometry", TypeGeometry);
    KOLM_ASSERT(num_vertices && "Tracing::addGeometry(): invalid number of vertices");
    KOLM_ASSERT(get_vertex_size(vertex_format) && "Tracing::addGeometry(): invalid vertex format");
    KOLM_ASSERT(vertex_stride >= get_vertex_size(vertex_format) && vertex_stride <= UINT32_MAX &&
                vertex_stride % 4 == 0 && "Tracing::addGeometry(): invalid vertex stride");
    KOLM_ASSERT((num_indices == 0 || get_index_size(index_format)) && "Tracing::addGeometry(): invalid index format");
    KOLM_ASSERT(((num_indices) ? num_indices : num_vertices) % 3 == 0 &&
                "Tracing::addGeometry(): invalid number of triangles");
    Geometry &geometry = geometries.append();
    geometry = Geometry();
    geometry.num_vertices = num_vertices;
    geometry.vertex_format = vertex_format;
    geometry.vertex_stride = vertex_stride;
    geometry.num_indices = num_indices;
    geometry.index_format = index_format;
    return geometries.size() - 1;
}

Tracing &Tracing::setVertexBuffer(uint32_t index, Buffer *buffer, size_t offset) {
    KOLM_ASSERT(index < geometries.size() && "Tracing::setVertexBuffer(): invalid geometry index");
    geometries[index].vertex_buffer = buffer;
    geometries[index].vertex_offset = offset;
    return *this;
}

Tracing &Tracing::setIndexBuffer(uint32_t index, Buffer *buffer, size_t offset) {
    KOLM_ASSERT(index < geometries.size() && "Tracing::setIndexBuffer(): invalid geometry index");
    geometries[index].index_buffer = buffer;
    geometries[index].index_offset = offset;
    return *this;
}

Tracing &Tracing::setTransformBuffer(uint32_t index, Buffer *buffer, size_t offset) {
    KOLM_ASSERT(index < geometries.size() && "Tracing::setTransformBuffer(): invalid geometry index");
    geometries[index].transform_buffer = buffer;
    geometries[index].transform_offset = offset;
    return *this;
}

uint32_t Tracing::addBounds(uint32_t num_bounds, size_t stride, Buffer *buffer, size_t offset) {
    set_type("addBounds", TypeBounds);
    KOLM_ASSERT(num_bounds && "Tracing::addBounds(): invalid number of bounds");
    KOLM_ASSERT(stride >= 24 && stride % 8 == 0 && stride <= UINT32_MAX && "Tracing::addBounds(): invalid stride");
    bounds.append(Bounds{num_bounds, stride, buffer, offset});
    return bounds.size() - 1;
}

Tracing &Tracing::setBoundsBuffer(uint32_t index, Buffer *buffer, size_t offset) {
    KOLM_ASSERT(index < bounds.size() && "Tracing::setBoundsBuffer(): invalid bounds index");
    bounds[index].buffer = buffer;
    bounds[index].offset = offset;
    return *this;
}

Tracing &Tracing::setInstances(uint32_t num, Buffer *buffer, size_t offset) {
    set_type("setInstances", TypeInstances);
    KOLM_ASSERT(num && "Tracing::setInstances(): invalid number of instances");
    num_instances = num;
    instance_buffer = buffer;
    instance_offset = offset;
    return *this;
}

bool Tracing::init(Flags flags) {
    KOLM_ASSERT(!isCreated() && "Tracing::create(): is already created");
    KOLM_ASSERT((flags >> NumFlags) == 0 && "Tracing::create(): invalid flags");
    const char *message = nullptr;
    if(tracing_type == TypeUnknown) {
        message = "Tracing::create(): tracing is empty\n";
    } else if((flags & FlagFastTrace) && (flags & FlagFastBuild)) {
        message = "Tracing::create(): can't create tracing with FastTrace FastBuild flags\n";
    }
    if(message) {
        Log::print(Log::Error, message);
        return false;
    }
    tracing_flags = flags;
    is_built = false;
    return true;
}

// builds

// A range of \p num elements, the last of which needs \p element bytes only.
bool Tracing::check_buffer(const Caller &caller, const char *kind, uint32_t index, const Buffer *buffer, size_t offset,
                           size_t num, size_t stride, size_t element, size_t alignment) {
    if(buffer == nullptr) caller.fail("%s buffer %u is null", kind, index);
    caller.checkFlag("buffer", buffer, Buffer::FlagTracing);
    if(offset % alignment) {
        return caller.error("invalid %s offset %zu: a multiple of %zu is needed for %s buffer", kind, offset, alignment,
                            Caller::getText(buffer));
    }
    const size_t size = (num - 1) * stride + element; // both fit into 32 bits
    if(offset < buffer->getSize() && size <= buffer->getSize() - offset) return true;
    return caller.error("invalid %s range %zu-%zu: %s buffer has %zu bytes", kind, offset,
                        (size > SIZE_MAX - offset) ? SIZE_MAX : offset + size, Caller::getText(buffer),
                        buffer->getSize());
}

bool Tracing::check_build(const Caller &caller, const Buffer *scratch, size_t offset, Flags flags) const {
    caller.checkFlag("buffer", scratch, Buffer::FlagScratch);
    const bool update = (flags & FlagUpdate) != 0 && is_built;
    if(update && !hasFlag(FlagUpdate)) {
        return caller.error("%s tracing (%s) needs the flag Update", Caller::getText(this), getDescription().get());
    }
    const size_t size = (update) ? update_size : build_size;
    if(offset % scratch_alignment) {
        return caller.error("invalid scratch offset %zu: a multiple of %u is needed for %s tracing", offset,
                            scratch_alignment, Caller::getText(this));
    }
    if(offset >= scratch->getSize() || size > scratch->getSize() - offset) {
        return caller.error("invalid scratch range %zu-%zu: %s buffer has %zu bytes", offset,
                            (size > SIZE_MAX - offset) ? SIZE_MAX : offset + size, Caller::getText(scratch),
                            scratch->getSize());
    }
    for(uint32_t i = 0; i < geometries.size(); i++) {
        const Geometry &geometry = geometries[i];
        const size_t vertex_size = get_vertex_size(geometry.vertex_format);
        if(!check_buffer(caller, "vertex", i, geometry.vertex_buffer, geometry.vertex_offset, geometry.num_vertices,
                         geometry.vertex_stride, vertex_size, 4))
            return false;
        const size_t index_size = get_index_size(geometry.index_format);
        if(geometry.num_indices && !check_buffer(caller, "index", i, geometry.index_buffer, geometry.index_offset,
                                                 geometry.num_indices, index_size, index_size, index_size))
            return false;
        if(geometry.transform_buffer &&
           !check_buffer(caller, "transform", i, geometry.transform_buffer, geometry.transform_offset, 1, 48, 48, 16))
            return false;
    }
    for(uint32_t i = 0; i < bounds.size(); i++) {
        if(!check_buffer(caller, "bounds", i, bounds[i].buffer, bounds[i].offset, bounds[i].num_bounds,
                         bounds[i].stride, 24, 8))
            return false;
    }
    return (num_instances == 0 || check_buffer(caller, "instance", 0, instance_buffer, instance_offset, num_instances,
                                               InstanceSize, InstanceSize, 16));
}

bool Tracing::check_instances(const Caller &caller, const Instance *instances, uint32_t num) const {
    if(tracing_type != TypeInstances) {
        return caller.error("%s tracing (%s) has no instances", Caller::getText(this), getDescription().get());
    }
    if(num > num_instances) {
        return caller.error("invalid number of instances %u: %s tracing has %u", num, Caller::getText(this),
                            num_instances);
    }
    for(uint32_t i = 0; i < num; i++) {
        const Instance &instance = instances[i];
        if(instance.tracing) caller.checkCreated("tracing", instance.tracing);
        if(instance.tracing && instance.tracing->getType() == TypeInstances) {
            return caller.error("invalid instance %u: %s tracing is of instances", i,
                                Caller::getText(instance.tracing));
        }
        if((instance.data >> 24) || (instance.offset >> 24) || (instance.mask >> 8) || (instance.flags >> 4)) {
            return caller.error("invalid instance %u: data 0x%x and offset 0x%x have 24 bits, mask 0x%x has 8, flags "
                                "0x%x have 4",
                                i, instance.data, instance.offset, instance.mask, instance.flags);
        }
    }
    return check_buffer(caller, "instance", 0, instance_buffer, instance_offset, num_instances, InstanceSize,
                        InstanceSize, 16);
}

} // namespace Kolm
