// Forwarding of the document class.

#include "OstrevanJsonKolm.h"
#include "OstrevanStreamKolm.h"
#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Json, Copyable)

Json::Json() : Json(VoidImpl()) {}
Json::Json(Type type) : Json() { impl().init(new Kolm::Json(getCore(type))); }
Json::Json(const char *name, Type type) : Json() { impl().init(new Kolm::Json(name, getCore(type))); }
Json::Json(Json *parent, Type type) : Json(parent, nullptr, type) {}
Json::Json(Json *parent, const char *name, Type type) : Json() {
    Kolm::Json *core = parent ? parent->impl().get() : nullptr;
    impl().init(new Kolm::Json(core, name, getCore(type)));
    if(core) impl().unacquire();
}

void Json::clear() { impl().ref().clear(); }
void Json::copy(const Json &json) { impl().ref().copy(json.impl().ref()); }

bool Json::create(const char *src, size_t size, bool owner) { return impl().ref().create(src, size, owner); }
bool Json::create(const String &src) {
    return impl().ref().create(getCoreString(src).get(), getCoreString(src).size());
}
bool Json::load(const char *name) { return impl().ref().load(name); }
bool Json::load(const String &name) { return impl().ref().load(getCoreString(name).get()); }
bool Json::load(Stream &stream) { return impl().ref().load(stream.impl().ref()); }
bool Json::save(const char *name, bool compact) const { return impl().ref().save(name, compact); }
bool Json::save(const String &name, bool compact) const {
    return impl().ref().save(getCoreString(name).get(), compact);
}
bool Json::save(Stream &stream, bool compact) const { return impl().ref().save(stream.impl().ref(), compact); }

Json Json::getRoot() { return TS<Json>(impl().ref().getRoot()); }
const Json Json::getRoot() const { return TS<Json>(impl().ref().getRoot()); }
bool Json::setParent(Json &parent, bool check) {
    if(!impl().ref().setParent(&parent.impl().ref(), check)) return false;
    impl().unacquire();
    return true;
}
Json Json::getParent() { return TS<Json>(impl().ref().getParent()); }
const Json Json::getParent() const { return TS<Json>(impl().ref().getParent()); }
Json Json::addChild(const char *name, Type type, bool check) {
    return TS<Json>(impl().ref().addChild(name, getCore(type), check));
}
Json Json::addChild(const String &name, Type type, bool check) { return addChild(name.get(), type, check); }
bool Json::addChild(Json &child, bool check) { return child.setParent(*this, check); }
void Json::removeChild(Json &child) {
    impl().ref().removeChild(&child.impl().ref());
    child.impl().acquire();
}
void Json::removeChild(uint32_t index) { impl().ref().removeChild(index); }
void Json::releaseChildren() { impl().ref().releaseChildren(); }

uint32_t Json::findChild(const char *name) const { return impl().ref().findChild(name); }
bool Json::isChild(const char *name) const { return impl().ref().isChild(name); }
const Array<Json> Json::getChildren() const { return copyConstArray<Json>(impl().ref().getChildren()); }
Array<Json> Json::getChildren() { return copyArray<Json>(impl().ref().getChildren()); }
uint32_t Json::getNumChildren() const { return impl().ref().getNumChildren(); }
const Json Json::getChild(uint32_t index) const { return TS<Json>(impl().ref().getChild(index)); }
Json Json::getChild(uint32_t index) { return TS<Json>(impl().ref().getChild(index)); }
const Json Json::getChild(const char *path) const { return TS<Json>(impl().ref().getChild(path)); }
Json Json::getChild(const char *path) { return TS<Json>(impl().ref().getChild(path)); }
String Json::getPathName() const { return getPublicString(impl().ref().getPathName()); }

void Json::setName(const char *name) { impl().ref().setName(name); }
void Json::setName(const String &name) { impl().ref().setName(getCoreString(name)); }
String Json::getName() const { return getPublicString(impl().ref().getName()); }
void Json::setType(Type type) { impl().ref().setType(getCore(type)); }
Json::Type Json::getType() const { return Type(impl().ref().getType()); }
const char *Json::getTypeName(Type type) { return Kolm::Json::getTypeName(getCore(type)); }
const char *Json::getTypeName() const { return impl().ref().getTypeName(); }

#define JSON_DATA(TYPE)                                             \
    void Json::setData(TYPE value) { impl().ref().setData(value); } \
    TYPE Json::getData(const char *path, TYPE value) const { return impl().ref().getData(path, value); }
JSON_DATA(bool)
JSON_DATA(int32_t)
JSON_DATA(uint32_t)
JSON_DATA(int64_t)
JSON_DATA(uint64_t)
JSON_DATA(float32_t)
JSON_DATA(float64_t)
#undef JSON_DATA
void Json::setData(const char *value) { impl().ref().setData(value); }
void Json::setData(const String &value) { impl().ref().setData(getCoreString(value)); }
String Json::getData(const char *path, const char *value) const {
    return getPublicString(impl().ref().getData(path, value));
}
String Json::getData(const char *path, const String &value) const {
    return getPublicString(impl().ref().getData(path, getCoreString(value)));
}

String Json::getData() const { return getPublicString(impl().ref().getData()); }
bool Json::getDataBool() const { return impl().ref().getDataBool(); }
int32_t Json::getDatai32(uint32_t radix) const { return impl().ref().getDatai32(radix); }
uint32_t Json::getDatau32(uint32_t radix) const { return impl().ref().getDatau32(radix); }
int64_t Json::getDatai64(uint32_t radix) const { return impl().ref().getDatai64(radix); }
uint64_t Json::getDatau64(uint32_t radix) const { return impl().ref().getDatau64(radix); }
float32_t Json::getDataf32() const { return impl().ref().getDataf32(); }
float64_t Json::getDataf64() const { return impl().ref().getDataf64(); }
float64_t Json::getNumber() const { return impl().ref().getNumber(); }
String Json::getString() const { return getPublicString(impl().ref().getString()); }

} // namespace Ostrevan
