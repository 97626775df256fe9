#include "VKQuery.h"

#include "KolmLog.h"
#include "VKBuffer.h"
#include "VKTarget.h"

namespace Kolm {

namespace {

constexpr VKContext::QueryType query_types[Query::NumTypes] = {
    VKContext::NumQueryTypes, VKContext::QueryTime,       VKContext::QuerySamples,
    VKContext::QuerySamples,  VKContext::QueryStatistics,
};

} // namespace

VKQuery::VKQuery(VKContext *context) : Query(context->getAdapter()->getIndex()), context(context->retain()) {}

VKQuery::~VKQuery() {
    release();
    VKContext::release(context);
}

void VKQuery::clear() {
    release();
    Query::clear();
}

bool VKQuery::create(Type type) {
    if(!init(type)) return false;
    const char *message = nullptr;
    if(!context->hasHostQueries())
        message = "VKQuery::create(): queries are not supported\n";
    else if(type == TypeStatistics && !context->getAdapter()->getFeatures().pipelineStatisticsQuery)
        message = "VKQuery::create(): statistics are not supported\n";
    if(message == nullptr) return true;
    Log::print(Log::Error, message);
    Query::clear();
    return false;
}

// Results go back to the context that they are of.
void VKQuery::release() {
    stop();
    if(query_context) {
        for(uint32_t i = 0; i < results.size(); i++) query_context->releaseQuery(results[i]);
    }
    results.clear();
    VKContext::release(query_context);
    query_context = nullptr;
}

void VKQuery::stop() {
    if(!is_active) return;
    close();
    query_context->removeListener(this);
    query_context->endQuery(query_types[query_type]);
    is_active = false;
}

void VKQuery::notify(VKContext::Event event) {
    if(event == VKContext::EventCommand || event == VKContext::EventPass) close();
    if(event == VKContext::EventBegin && !is_open) open();
}

bool VKQuery::open() {
    VKContext::QueryResult result = query_context->getQuery(query_types[query_type]);
    if(!result) return false;
    results.append(result);
    VKAdapter *adapter = query_context->getAdapter();
    const bool precise = (query_type == TypeSamples && adapter->getFeatures().occlusionQueryPrecise);
    adapter->vkCmdBeginQuery(query_context->getCommand(), result.pool, result.index,
                             precise ? VK_QUERY_CONTROL_PRECISE_BIT : 0);
    return is_open = true;
}

void VKQuery::close() {
    if(!is_open) return;
    const VKContext::QueryResult &result = results.back();
    query_context->getAdapter()->vkCmdEndQuery(query_context->getCommand(), result.pool, result.index);
    is_open = false;
}

// All work in front is done then: times of queries behind each other add up.
bool VKQuery::write_time() {
    VKContext::QueryResult result = query_context->getQuery(VKContext::QueryTime);
    if(!result) return false;
    results.append(result);
    query_context->getAdapter()->vkCmdWriteTimestamp(query_context->getCommand(), VK_PIPELINE_STAGE_BOTTOM_OF_PIPE_BIT,
                                                     result.pool, result.index);
    return true;
}

bool VKQuery::begin(VKContext *ctx) {
    release();
    const VkQueueFlags flags = ctx->getQueueFlags();
    const bool samples = (query_type == TypeSamples || query_type == TypeAnySamples);
    const char *message = nullptr;
    if(ctx->getAdapter() != context->getAdapter())
        message = "VKQuery::begin(): query is of another adapter\n";
    else if(query_type == TypeTime && ctx->getTimestampBits() == 0)
        message = "VKQuery::begin(): the queue has no times\n";
    else if(samples && (flags & VK_QUEUE_GRAPHICS_BIT) == 0)
        message = "VKQuery::begin(): the queue has no samples\n";
    else if(query_type == TypeStatistics && (flags & (VK_QUEUE_GRAPHICS_BIT | VK_QUEUE_COMPUTE_BIT)) == 0)
        message = "VKQuery::begin(): the queue has no statistics\n";
    if(message) {
        Log::print(Log::Error, message);
        return false;
    }
    if(ctx->getTarget() && !ctx->getTarget()->leaveSecondary()) return false;
    query_context = ctx->retain();
    if(query_type == TypeTime) return write_time();
    if(!ctx->beginQuery(query_types[query_type])) {
        Log::printf(Log::Error, "VKQuery::begin(): another %s query is begun\n", getTypeName());
        return false;
    }
    if(!open()) {
        ctx->endQuery(query_types[query_type]);
        return false;
    }
    ctx->addListener(this);
    return is_active = true;
}

bool VKQuery::end(VKContext *ctx) {
    if(ctx != query_context) {
        Log::printf(Log::Error, "VKQuery::end(): query was begun on another device\n");
        release();
        return false;
    }
    if(ctx->getTarget() && !ctx->getTarget()->leaveSecondary()) return false;
    if(query_type == TypeTime) return write_time();
    stop();
    return true;
}

// Values as the device wrote them, sums over command buffers. False while one of them is not there.
bool VKQuery::get_raw_values(uint64_t *values) const {
    if(results.empty()) return false;
    for(uint32_t i = 0; i < getNumValues(); i++) values[i] = 0;
    // A compute queue counts the last of the statistics alone.
    const uint32_t num = query_context->getNumQueryValues(query_types[query_type]);
    const uint32_t first = (query_type == TypeStatistics) ? getNumValues() - num : 0;
    for(uint32_t i = 0; i < results.size(); i++) {
        uint64_t result[MaxValues];
        if(!query_context->getQueryValues(results[i], result)) return false;
        if(query_type == TypeTime) {
            values[i] = result[0];
        } else {
            for(uint32_t j = 0; j < num; j++) values[first + j] += result[j];
        }
    }
    return true;
}

bool VKQuery::get_values(uint64_t *values) const {
    if(!get_raw_values(values)) return false;
    if(query_type != TypeTime) return true;
    // Ticks of `bits` bits, which may wrap around between the two. Whole nanoseconds from the begin on keep the
    // difference exact where ticks are large.
    const uint32_t bits = query_context->getTimestampBits();
    const uint64_t mask = (bits < 64) ? (1ull << bits) - 1 : ~0ull;
    const float64_t period = query_context->getAdapter()->getLimits().timestampPeriod;
    const auto get_time = [&](uint64_t ticks) {
        return (period == 1.0) ? ticks : uint64_t(float64_t(ticks) * period + 0.5);
    };
    const uint64_t ticks = (values[1] - values[0]) & mask;
    values[0] = get_time(values[0] & mask);
    values[1] = values[0] + get_time(ticks);
    return true;
}

bool VKQuery::copy(VKContext *ctx, VKBuffer *buffer, size_t offset) {
    const uint32_t num = (query_context) ? query_context->getNumQueryValues(query_types[query_type]) : 0;
    const bool is_time = (query_type == TypeTime);
    if(num == 0 || (!is_time && results.size() != 1) || (query_type == TypeStatistics && num != getNumValues()))
        return copy_sums(ctx, buffer, offset);
    buffer->setBufferAccess(ctx, VK_ACCESS_TRANSFER_WRITE_BIT, true);
    for(uint32_t i = 0; i < results.size(); i++) {
        ctx->getAdapter()->vkCmdCopyQueryPoolResults(
            ctx->getCommand(), results[i].pool, results[i].index, 1, buffer->getBuffer(), offset + i * sizeof(uint64_t),
            num * sizeof(uint64_t), VK_QUERY_RESULT_64_BIT | VK_QUERY_RESULT_WAIT_BIT);
    }
    return true;
}

// The device adds nothing up: the host does, after the work ran.
bool VKQuery::copy_sums(VKContext *ctx, VKBuffer *buffer, size_t offset) {
    uint64_t values[MaxValues];
    if(!get_raw_values(values)) {
        Log::printf(Log::Warning, "VKQuery::copy(): CPU syncronization for %s query\n", getTypeName());
        if(query_context == nullptr || !query_context->isPrimary() || !query_context->finish(true, false) ||
           !get_raw_values(values)) {
            Log::printf(Log::Error, "VKQuery::copy(): can't get query values\n");
            return false;
        }
    }
    return buffer->set(ctx, offset, values, getNumValues() * sizeof(uint64_t));
}

} // namespace Kolm
