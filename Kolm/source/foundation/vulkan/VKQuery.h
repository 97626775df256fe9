// VKQuery.h: times and counts of a device's work. Rests on the pools of VKContext.
// Hides that a count is open over the end of its command buffer.

#pragma once

#include "KolmArray.h"
#include "KolmQuery.h"

#include "VKContext.h"

namespace Kolm {

class VKBuffer;

/// May be begun on any context of its adapter, inside and outside of targets. A count that is open when a command buffer
/// ends, or a pass begins or ends, goes on behind that with another result; values are sums. Work that a command device
/// recorded is counted by queries of that device alone.
class VKQuery : public Query, private VKContext::Listener {
public:
    explicit VKQuery(VKContext *context);
    ~VKQuery() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return (query_type != TypeUnknown); }
    bool create(Type type) override;

    /// Recorded on \p context, the same one for both. Each logs why and returns false.
    bool begin(VKContext *context);
    bool end(VKContext *context);
    /// Raw values at \p offset, when the work ran.
    bool copy(VKContext *context, VKBuffer *buffer, size_t offset);

protected:
    bool get_values(uint64_t *values) const override;

private:
    void notify(VKContext::Event event) override;
    bool open();
    void close();
    void stop();
    void release();
    bool write_time();
    bool get_raw_values(uint64_t *values) const;
    bool copy_sums(VKContext *context, VKBuffer *buffer, size_t offset);

    VKContext *context = nullptr;
    VKContext *query_context = nullptr; // that the results are of
    // Times: begin and end. Counts: one result for each command buffer and pass.
    Array<VKContext::QueryResult> results;
    bool is_active = false; // between begin() and end() of a count
    bool is_open = false;   // the last result counts
};

} // namespace Kolm
