// Acceleration structures for ray tracing.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>
#include <platform/OstrevanBuffer.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Acceleration structure, made by Device::createTracing(): described first, then created, then built by
/// Device::buildTracing(). A bottom structure holds triangles or boxes, a top structure instances of bottom ones.
///
/// Geometry lies in buffers with FlagTracing, which have to live until the build ran. Scratch memory of a build lies in
/// a buffer with FlagScratch of getBuildSize() bytes, or getUpdateSize() for an update.
///
///     Tracing mesh = device.createTracing(num_vertices, FormatRGBf32, stride, num_indices, FormatRu32);
///     mesh.setVertexBuffer(0, vertices).setIndexBuffer(0, indices);
///     device.buildTracing(mesh, scratch);
///     device.flushTracing(mesh);
class OSTREVAN_API Tracing {
    OSTREVAN_HANDLE(Tracing)
public:
    enum Type { TypeUnknown = 0, TypeGeometry, TypeBounds, TypeInstances, NumTypes };

    enum Flags : uint32_t {
        FlagNone = 0,
        FlagCompact = 1 << 0,   ///< may be made smaller by Device::compactTracing() after its build
        FlagUpdate = 1 << 1,    ///< Device::buildTracing() with this flag moves the vertices of what was built with it
        FlagFastTrace = 1 << 2, ///< rays are fast rather than builds
        FlagFastBuild = 1 << 3, ///< builds are fast rather than rays
        FlagLowMemory = 1 << 4, ///< small rather than fast
        FlagOpaque = 1 << 5,    ///< no first-hit shaders run
        FlagSingleHit = 1 << 6, ///< first-hit shaders run once for each hit
        DefaultFlags = FlagFastTrace,
        NumFlags = 7
    };

    /// Placed bottom structure, as Device::setTracing() takes it.
    struct Instance {
        float32_t transform[3][4] = {{1.0f, 0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f, 0.0f}};
        const Tracing *tracing = nullptr; ///< null is nowhere
        uint32_t data = 0;                ///< 24 bits for shaders
        uint32_t offset = 0;              ///< 24 bits: first hit group
        uint32_t mask = 0xFF;             ///< 8 bits, against the mask of a ray
        uint32_t flags = 0;               ///< InstanceFlags
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

    Tracing();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the structure belongs to.
    uint32_t getIndex() const;

    /// Gives the memory back and forgets the description.
    void clear();
    bool isCreated() const;
    /// Makes an empty structure of what was described. False if the reason was logged.
    bool create(Flags flags = DefaultFlags);

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;
    Type getType() const;
    static const char *getTypeName(Type type);
    const char *getTypeName() const;
    Flags getFlags() const;
    bool hasFlag(Flags flags) const;
    /// Such as "Geometry 2000".
    String getDescription() const;
    Tracing &setParameters(const Tracing &tracing);

    // Triangles; returns the index. Positions are RGBf32, RGBAf32, RGf32, RGBAf16 or RGf16 at the start of a vertex,
    // indices Ru16 or Ru32. Strides and offsets are in bytes. A transform is 3 rows of 4 floats.
    uint32_t addGeometry(uint32_t num_vertices, Format vertex_format, size_t vertex_stride);
    uint32_t addGeometry(uint32_t num_vertices, Format vertex_format, size_t vertex_stride, uint32_t num_indices,
                         Format index_format);
    Tracing &setVertexBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0);
    Tracing &setIndexBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0);
    Tracing &setTransformBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0);
    uint32_t getNumGeometries() const;

    // boxes of 6 floats: minimum and maximum
    uint32_t addBounds(uint32_t num_bounds, size_t stride);
    uint32_t addBounds(uint32_t num_bounds, size_t stride, const Buffer &buffer, size_t offset = 0);
    Tracing &setBoundsBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0);
    uint32_t getNumBounds() const;

    // instances, in a buffer of InstanceSize bytes each that Device::setTracing() fills
    Tracing &setInstances(uint32_t num_instances, const Buffer &buffer, size_t offset = 0);
    uint32_t getNumInstances() const;

    /// Bytes of the structure, and of the scratch memory of a build and of an update; 0 until it is created.
    size_t getMemory() const;
    size_t getBuildSize() const;
    size_t getUpdateSize() const;
    /// What offsets into scratch buffers are multiples of.
    uint32_t getScratchAlignment() const;
    /// Whether a build was recorded since create().
    bool isBuilt() const;
};

inline Tracing::Flags operator|(Tracing::Flags a, Tracing::Flags b) {
    return Tracing::Flags(uint32_t(a) | uint32_t(b));
}

} // namespace Ostrevan
