// KolmQuery.cpp: results of queries by type.

#include "KolmQuery.h"

namespace Kolm {

namespace {

constexpr struct {
    const char *name;
    uint32_t values;
} types[Query::NumTypes] = {
    {"Unknown", 0}, {"Time", 2}, {"Samples", 1}, {"AnySamples", 1}, {"Statistics", Query::MaxValues},
};

} // namespace

const char *Query::getTypeName(Type type) { return types[(uint32_t(type) < NumTypes) ? type : TypeUnknown].name; }

uint32_t Query::getNumValues(Type type) { return types[(uint32_t(type) < NumTypes) ? type : TypeUnknown].values; }

void Query::clear() {
    query_name.clear();
    query_type = TypeUnknown;
    is_begun = is_ended = false;
}

void Query::setName(const char *name) { query_name = (name) ? name : ""; }

bool Query::init(Type type) {
    KOLM_ASSERT(!isCreated() && "Query::create(): is already created");
    KOLM_ASSERT(type > TypeUnknown && type < NumTypes && "Query::create(): invalid query type");
    query_type = type;
    is_begun = is_ended = false;
    return true;
}

bool Query::isAvailable() const {
    uint64_t values[MaxValues];
    return get_result(values);
}

bool Query::getTime(uint64_t &time) const {
    uint64_t begin = 0, end = 0;
    if(!getTimes(begin, end)) return false;
    time = end - begin;
    return true;
}

bool Query::getTimes(uint64_t &begin, uint64_t &end) const {
    KOLM_ASSERT(query_type == TypeTime && "Query::getTimes(): invalid query type");
    uint64_t values[MaxValues];
    if(!get_result(values)) return false;
    begin = values[0];
    end = values[1];
    return true;
}

bool Query::getSamples(uint64_t &samples) const {
    KOLM_ASSERT((query_type == TypeSamples || query_type == TypeAnySamples) &&
                "Query::getSamples(): invalid query type");
    uint64_t values[MaxValues];
    if(!get_result(values)) return false;
    samples = values[0];
    return true;
}

bool Query::getStatistics(Statistics &statistics) const {
    KOLM_ASSERT(query_type == TypeStatistics && "Query::getStatistics(): invalid query type");
    uint64_t values[MaxValues];
    if(!get_result(values)) return false;
    memcpy(&statistics, values, sizeof(statistics));
    return true;
}

} // namespace Kolm
