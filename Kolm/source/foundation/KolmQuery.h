// KolmQuery.h: measurements of the device: times, visible samples, counts of the pipeline's work.

#pragma once

#include "KolmPlatform.h"
#include "KolmString.h"

namespace Kolm {

/// Measures the work between beginQuery() and endQuery() of a device or recorder. The result arrives when the work ran:
/// readers never wait, and return false until then. A query may be begun again; that discards its result. Of the queries
/// that count samples one is begun at a time on a device, and one of statistics.
class Query : public PlatformBase {
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
    static constexpr uint32_t MaxValues = sizeof(Statistics) / sizeof(uint64_t);

    explicit Query(uint32_t index) : PlatformBase(index) {}

    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    virtual bool create(Type type) = 0;

    const String &getName() const { return query_name; }
    Type getType() const { return query_type; }
    static const char *getTypeName(Type type);
    const char *getTypeName() const { return getTypeName(query_type); }
    /// 64-bit values of a result: 2, 1, 1 and 11.
    uint32_t getNumValues() const { return getNumValues(query_type); }
    static uint32_t getNumValues(Type type);

    /// Between beginQuery() and endQuery().
    bool isBegun() const { return is_begun; }
    /// Whether there is a result to read. Does not wait.
    bool isAvailable() const;

    /// Nanoseconds between the begin and the end.
    bool getTime(uint64_t &time) const;
    /// Nanoseconds of the device's clock, whose zero is unknown.
    bool getTimes(uint64_t &begin, uint64_t &end) const;
    /// Number of samples; for TypeAnySamples 0 if there was none.
    bool getSamples(uint64_t &samples) const;
    bool getStatistics(Statistics &statistics) const;

protected:
    friend class Device;
    friend class Recorder;

    bool init(Type type);

    /// Values of a query that was ended, times in nanoseconds. False, silently, while they are not there.
    virtual bool get_values(uint64_t *values) const = 0;

    String query_name;
    Type query_type = TypeUnknown;

private:
    bool get_result(uint64_t *values) const { return (is_ended && get_values(values)); }

    bool is_begun = false;
    bool is_ended = false;
};

} // namespace Kolm
