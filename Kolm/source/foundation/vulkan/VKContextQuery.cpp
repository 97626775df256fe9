// VKContextQuery.cpp: pools of queries. The host resets a result when the frame that used it has passed, so that one can
// be taken anywhere, inside of a render pass too.

#include "VKContext.h"

#include "KolmLog.h"

namespace Kolm {

namespace {

constexpr uint32_t pool_size = 128; // results of a pool, at least
constexpr uint32_t num_statistics = 11;

constexpr VkQueryType query_types[VKContext::NumQueryTypes] = {
    VK_QUERY_TYPE_TIMESTAMP,
    VK_QUERY_TYPE_OCCLUSION,
    VK_QUERY_TYPE_PIPELINE_STATISTICS,
    VK_QUERY_TYPE_ACCELERATION_STRUCTURE_COMPACTED_SIZE_KHR,
};

} // namespace

uint32_t VKContext::getNumQueryValues(QueryType type) const {
    if(type != QueryStatistics) return 1;
    return (queue_flags & VK_QUEUE_GRAPHICS_BIT) ? num_statistics : 1;
}

bool VKContext::reserveQueries(QueryType type, uint32_t num) {
    Array<QueryResult> &results = queries[type];
    if(results.size() >= num) return true;
    if(!hasHostQueries()) {
        Log::printf(Log::Error, "VKContext::reserveQueries(): queries are not supported\n");
        return false;
    }
    const uint32_t count = max(num - results.size(), pool_size);
    auto info = vk_record<VkQueryPoolCreateInfo>(VK_STRUCTURE_TYPE_QUERY_POOL_CREATE_INFO);
    info.queryType = query_types[type];
    info.queryCount = count;
    if(type == QueryStatistics) {
        // All of them in the order of Query::Statistics, or the invocations of compute shaders.
        info.pipelineStatistics = (getNumQueryValues(type) == num_statistics)
                                      ? (1u << num_statistics) - 1
                                      : uint32_t(VK_QUERY_PIPELINE_STATISTIC_COMPUTE_SHADER_INVOCATIONS_BIT);
    }
    VkQueryPool pool = VK_NULL_HANDLE;
    if(VK::error(vkCreateQueryPool(device, &info, nullptr, &pool))) {
        Log::printf(Log::Error, "VKContext::reserveQueries(): can't create query pool\n");
        return false;
    }
    adapter->vkResetQueryPool(device, pool, 0, count);
    query_pools.append(pool);
    for(uint32_t i = 0; i < count; i++) results.append(QueryResult{pool, count - i - 1, type});
    return true;
}

VKContext::QueryResult VKContext::getQuery(QueryType type) {
    if(!reserveQueries(type, 1)) return QueryResult();
    Array<QueryResult> &results = queries[type];
    const QueryResult result = results.back();
    results.removeBack();
    return result;
}

void VKContext::releaseQueries() {
    for(auto &results : queries) results.clear();
    for(uint32_t i = 0; i < query_pools.size(); i++) vkDestroyQueryPool(device, query_pools[i], nullptr);
    query_pools.clear();
}

// The frame's work ran: what it gave back is free again.
void VKContext::recycle_queries() {
    for(uint32_t i = 0; i < frame->queries.size(); i++) {
        const QueryResult &result = frame->queries[i];
        adapter->vkResetQueryPool(device, result.pool, result.index, 1);
        queries[result.type].append(result);
    }
    frame->queries.clear();
}

bool VKContext::getQueryValues(const QueryResult &result, uint64_t *values) const {
    const size_t size = getNumQueryValues(result.type) * sizeof(uint64_t);
    const VkResult status =
        vkGetQueryPoolResults(device, result.pool, result.index, 1, size, values, size, VK_QUERY_RESULT_64_BIT);
    return (status != VK_NOT_READY && !adapter->error(status));
}

} // namespace Kolm
