#include "OstrevanQueryKolm.h"

#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Query, Noncopyable)

Query::Query() : Query(VoidImpl()) {}

Platform Query::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Query::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Query::getIndex() const { return impl().ref().getIndex(); }

void Query::clear() { impl().ref().clear(); }
bool Query::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Query::create(Type type) { return impl().ref().create(static_cast<Kolm::Query::Type>(type)); }

void Query::setName(const char *name) { impl().ref().setName(name); }
String Query::getName() const { return String::StringImpl::TS(impl().ref().getName()); }
Query::Type Query::getType() const { return static_cast<Type>(impl().ref().getType()); }
const char *Query::getTypeName(Type type) { return Kolm::Query::getTypeName(static_cast<Kolm::Query::Type>(type)); }
const char *Query::getTypeName() const { return impl().ref().getTypeName(); }
uint32_t Query::getNumValues() const { return impl().ref().getNumValues(); }

bool Query::isBegun() const { return impl().ref().isBegun(); }
bool Query::isAvailable() const { return impl().ref().isAvailable(); }
bool Query::getTime(uint64_t &time) const { return impl().ref().getTime(time); }
bool Query::getTimes(uint64_t &begin, uint64_t &end) const { return impl().ref().getTimes(begin, end); }
bool Query::getSamples(uint64_t &samples) const { return impl().ref().getSamples(samples); }
bool Query::getStatistics(Statistics &statistics) const {
    return impl().ref().getStatistics(reinterpret_cast<Kolm::Query::Statistics &>(statistics));
}

} // namespace Ostrevan
