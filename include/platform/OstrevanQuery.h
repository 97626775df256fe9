// Measurements of the device.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Measures the work between beginQuery() and endQuery() of a device or recorder, made by Device::createQuery(). The
/// result arrives when the work ran: readers never wait, and return false until then. A query may be begun again; that
/// discards its result. Of the queries that count samples one is begun at a time on a device, and one of statistics.
///
///     Query query = device.createQuery(Query::TypeTime);
///     device.beginQuery(query);
///     ...
///     device.endQuery(query);
///     device.finish();
///     uint64_t time;
///     if(query.getTime(time)) Log::printf("%f ms\n", time * 1e-6);
class OSTREVAN_API Query {
    OSTREVAN_HANDLE(Query)
public:
    enum Type {
        TypeUnknown = 0,
        TypeTime,       ///< times of the begin and of the end
        TypeSamples,    ///< samples that passed all tests
        TypeAnySamples, ///< whether there was one
        TypeStatistics, ///< work of the pipeline's stages
        NumTypes
    };

    /// Values of TypeStatistics.
    struct Statistics {
        uint64_t input_vertices;
        uint64_t input_primitives;
        uint64_t vertex_invocations;
        uint64_t geometry_invocations;
        uint64_t geometry_primitives;
        uint64_t clipping_invocations;
        uint64_t clipping_primitives;
        uint64_t fragment_invocations;
        uint64_t control_patches;
        uint64_t evaluate_invocations;
        uint64_t compute_invocations;
    };

    Query();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the query belongs to.
    uint32_t getIndex() const;

    void clear();
    bool isCreated() const;
    /// False if the reason was logged.
    bool create(Type type);

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;
    Type getType() const;
    static const char *getTypeName(Type type);
    const char *getTypeName() const;
    /// 64-bit values that Device::copyQuery() writes: 2, 1, 1 and 11.
    uint32_t getNumValues() const;

    /// Between beginQuery() and endQuery().
    bool isBegun() const;
    /// Whether there is a result to read. Does not wait.
    bool isAvailable() const;

    // Results. Each expects a query of its type.
    /// Nanoseconds between the begin and the end.
    bool getTime(uint64_t &time) const;
    /// Nanoseconds of the device's clock, whose zero is unknown.
    bool getTimes(uint64_t &begin, uint64_t &end) const;
    /// Number of samples; for TypeAnySamples 0 if there was none.
    bool getSamples(uint64_t &samples) const;
    bool getStatistics(Statistics &statistics) const;
};

} // namespace Ostrevan
