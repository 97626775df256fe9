// KolmTracing.h: acceleration structures for ray tracing: what they are built of, and the sizes of a build.
// Rests on buffers and formats. A bottom structure holds triangles or boxes, a top structure instances of bottom ones.

#pragma once

#include "KolmArray.h"
#include "KolmBuffer.h"
#include "KolmFormat.h"

namespace Kolm {

struct Caller;

/// Acceleration structure: described first, then created, then built by Device::buildTracing().
///
/// Geometry lies in buffers with FlagTracing, which have to live until the build ran. Scratch memory of a build lies in
/// a buffer with FlagScratch of getBuildSize() bytes, or getUpdateSize() for an update. Builds and updates of one
/// structure keep its numbers of vertices, indices, boxes and instances, or take less of them.
class Tracing : public PlatformBase {
public:
    enum Type { TypeUnknown = 0, TypeGeometry, TypeBounds, TypeInstances, NumTypes };

    enum Flags : uint32_t {
        FlagNone = 0,
        FlagCompact = 1 << 0,   ///< may be made smaller by Device::compactTracing() after its build
        FlagUpdate = 1 << 1,    ///< buildTracing() with this flag moves the vertices of what was built with it
        FlagFastTrace = 1 << 2, ///< rays are fast rather than builds
        FlagFastBuild = 1 << 3, ///< builds are fast rather than rays
        FlagLowMemory = 1 << 4, ///< small rather than fast
        FlagOpaque = 1 << 5,    ///< no first-hit shaders run
        FlagSingleHit = 1 << 6, ///< first-hit shaders run once for each hit
        DefaultFlags = FlagFastTrace,
        NumFlags = 7
    };

    /// Triangles. Without indices each three vertices are one.
    struct Geometry {
        uint32_t num_vertices = 0;
        Format vertex_format = FormatUnknown; // RGBf32, RGf32, RGBAf16 or RGf16 position at the start of a vertex
        size_t vertex_stride = 0;             // bytes
        Buffer *vertex_buffer = nullptr;
        size_t vertex_offset = 0;
        uint32_t num_indices = 0;
        Format index_format = FormatUnknown; // Ru16 or Ru32
        Buffer *index_buffer = nullptr;
        size_t index_offset = 0;
        Buffer *transform_buffer = nullptr; // 3 rows of 4 floats, or null
        size_t transform_offset = 0;
    };

    /// Boxes of 6 floats: minimum and maximum. Hits are found by intersection shaders.
    struct Bounds {
        uint32_t num_bounds = 0;
        size_t stride = 0; // bytes
        Buffer *buffer = nullptr;
        size_t offset = 0;
    };

    /// Placed bottom structure, as Device::setTracing() takes it.
    struct Instance {
        float32_t transform[3][4] = {{1.0f, 0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f, 0.0f}};
        Tracing *tracing = nullptr; // null is nowhere
        uint32_t data = 0;          // 24 bits for shaders
        uint32_t offset = 0;        // 24 bits: first hit group
        uint32_t mask = 0xFF;       // 8 bits, against the mask of a ray
        uint32_t flags = 0;         // InstanceFlags
    };
    enum InstanceFlags : uint32_t {
        InstanceNone = 0,
        InstanceTwoSided = 1 << 0, ///< triangles are not culled
        InstanceFlip = 1 << 1,     ///< front is clockwise
        InstanceOpaque = 1 << 2,
        InstanceTransparent = 1 << 3
    };
    /// Bytes of an instance in the instance buffer.
    static constexpr uint32_t InstanceSize = 64;

    /// Takes over the description of \p tracing, which may be null.
    explicit Tracing(uint32_t index, const Tracing *tracing = nullptr);

    /// Gives the memory back and forgets the description.
    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    /// Makes an empty structure of what was described.
    virtual bool create(Flags flags = DefaultFlags) = 0;

    const String &getName() const { return tracing_name; }
    Type getType() const { return tracing_type; }
    static const char *getTypeName(Type type);
    const char *getTypeName() const { return getTypeName(tracing_type); }
    Flags getFlags() const { return tracing_flags; }
    bool hasFlag(Flags flags) const { return (tracing_flags & flags) != 0; }
    /// Such as "Geometry 2 1000".
    String getDescription() const;

    Tracing &setParameters(const Tracing *tracing);

    // triangles. The first form takes the buffers later; offsets are in bytes, and a multiple of the elements' size
    uint32_t addGeometry(uint32_t num_vertices, Format vertex_format, size_t vertex_stride);
    uint32_t addGeometry(uint32_t num_vertices, Format vertex_format, size_t vertex_stride, uint32_t num_indices,
                         Format index_format);
    Tracing &setVertexBuffer(uint32_t index, Buffer *buffer, size_t offset = 0);
    Tracing &setIndexBuffer(uint32_t index, Buffer *buffer, size_t offset = 0);
    Tracing &setTransformBuffer(uint32_t index, Buffer *buffer, size_t offset = 0);
    uint32_t getNumGeometries() const { return geometries.size(); }
    const Geometry &getGeometry(uint32_t index) const { return geometries[index]; }

    // boxes
    uint32_t addBounds(uint32_t num_bounds, size_t stride, Buffer *buffer = nullptr, size_t offset = 0);
    Tracing &setBoundsBuffer(uint32_t index, Buffer *buffer, size_t offset = 0);
    uint32_t getNumBounds() const { return bounds.size(); }
    const Bounds &getBounds(uint32_t index) const { return bounds[index]; }

    // instances, in a buffer of InstanceSize bytes each that Device::setTracing() fills
    Tracing &setInstances(uint32_t num_instances, Buffer *buffer, size_t offset = 0);
    uint32_t getNumInstances() const { return num_instances; }
    Buffer *getInstanceBuffer() const { return instance_buffer; }
    size_t getInstanceOffset() const { return instance_offset; }

    /// Bytes of the structure, and of the scratch memory of a build and of an update; 0 until it is created.
    size_t getMemory() const { return tracing_size; }
    size_t getBuildSize() const { return build_size; }
    size_t getUpdateSize() const { return update_size; }
    /// What offsets into scratch buffers are multiples of.
    uint32_t getScratchAlignment() const { return scratch_alignment; }
    /// Whether a build was recorded since create().
    bool isBuilt() const { return is_built; }

protected:
    friend class Device;

    /// Tests the description.
    bool init(Flags flags);
    /// Buffers and scratch memory of a build. Mistakes end the process; false, with one line, for what is too small.
    bool check_build(const Caller &caller, const Buffer *scratch, size_t offset, Flags flags) const;
    bool check_instances(const Caller &caller, const Instance *instances, uint32_t num) const;

    String tracing_name;
    Type tracing_type = TypeUnknown;
    Flags tracing_flags = FlagNone;
    Array<Geometry> geometries;
    Array<Bounds> bounds;
    uint32_t num_instances = 0;
    Buffer *instance_buffer = nullptr;
    size_t instance_offset = 0;

    // set by a backend in create()
    size_t tracing_size = 0;
    size_t build_size = 0;
    size_t update_size = 0;
    uint32_t scratch_alignment = 256;

private:
    void set_type(const char *method, Type type);
    void copy_parameters(const Tracing &tracing);
    static bool check_buffer(const Caller &caller, const char *kind, uint32_t index, const Buffer *buffer,
                             size_t offset, size_t num, size_t stride, size_t element, size_t alignment);

    bool is_built = false;
};

inline Tracing::Flags operator|(Tracing::Flags a, Tracing::Flags b) {
    return Tracing::Flags(uint32_t(a) | uint32_t(b));
}
inline Tracing::Flags operator&(Tracing::Flags a, Tracing::Flags b) {
    return Tracing::Flags(uint32_t(a) & uint32_t(b));
}

} // namespace Kolm
