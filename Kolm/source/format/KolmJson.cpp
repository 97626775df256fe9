// The tree of elements and their values.
//
// Strings and child lists of a parsed tree lie in the pool of the nearest element above that has one. Before an element
// is taken from below that, own_memory() gives it and all below it memory on the heap; an element with a pool of its own
// takes that along.

#include "KolmJson.h"

#include <math.h>

#include "KolmParser.h"

namespace Kolm {

namespace {

// A string or an array that looks at memory of others becomes one with its own, or an empty one. Neither has a way to
// let go of such memory.
template<class Type> void make_own(Type &value) {
    if(value.allocator()) return;
    Type temp(value);
    value.~Type();
    new(&value) Type(std::move(temp));
}
template<class Type> void make_empty(Type &value) {
    value.~Type();
    new(&value) Type();
}

} // namespace

Json::Json(Json *parent, const char *name, Type type) : Json(name, type) {
    if(parent) attach(parent);
}

Json::~Json() {
    if(parent) detach();
    if(children || pool) {
        releaseChildren();
        forget_memory();
    }
}

// Lets go of the pool, and of strings that may lie in it.
void Json::forget_memory() {
    if(pool == nullptr) return;
    make_empty(children);
    make_own(name);
    make_empty(data);
    delete pool;
    pool = nullptr;
}

void Json::clear() {
    releaseChildren();
    forget_memory();
    type = TypeUnknown;
    if(parent == nullptr) name.clear();
    data.clear();
}

void Json::copy(const Json &json) {
    if(this == &json) return;
    clear();
    // Elements whose children are still to be copied, as pairs of source and copy.
    Array<const Json *> sources;
    Array<Json *> copies;
    type = json.type;
    if(parent == nullptr) name.copy(json.name);
    data.copy(json.data);
    sources.append(&json);
    copies.append(this);
    while(sources) {
        const Json *source = sources.back();
        Json *dest = copies.back();
        sources.removeBack();
        copies.removeBack();
        dest->children.reserve(source->children.size());
        for(uint32_t i = 0; i < source->children.size(); i++) {
            const Json *child = source->children.get(i);
            Json *temp = new Json(child->type);
            KOLM_ASSERT(temp && "Json::copy(): can't allocate element");
            temp->parent = dest;
            temp->name.copy(child->name);
            temp->data.copy(child->data);
            dest->children.append(temp);
            if(child->children) {
                sources.append(child);
                copies.append(temp);
            }
        }
    }
}

void Json::move(Json &json) {
    if(this == &json) return;
    json.own_memory();
    clear();
    type = json.type;
    if(parent == nullptr) name.copy(json.name);
    data.move(json.data);
    children.move(json.children);
    for(uint32_t i = 0; i < children.size(); i++) children.get(i)->parent = this;
    swap(pool, json.pool);
    json.clear();
}

// -- Memory --

// Deletes an element without parent and all below it. The tree is its own stack: children are taken off its ends.
void Json::destroy(Json *json, Batch &batch) {
    json->parent = nullptr;
    while(json) {
        const uint32_t size = json->children.size();
        if(size) {
            Json *child = json->children.get()[size - 1];
            json->children.removeBack();
            json = child;
            continue;
        }
        Json *parent = json->parent;
        json->parent = nullptr;
        json->~Json();
        batch.free(json);
        json = parent;
    }
}

void Json::destroy(Json *json) {
    Batch batch;
    destroy(json, batch);
}

void Json::releaseChildren() {
    if(children) {
        Batch batch;
        for(uint32_t i = children.size(); i > 0; i--) destroy(children.get()[i - 1], batch);
        children.clear();
    }
    if(children.allocator()) children.release();
}

void Json::own_memory() {
    const Json *owner = this;
    while(owner && owner->pool == nullptr) owner = owner->parent;
    if(owner == nullptr) return;
    Array<Json *> stack;
    stack.append(this);
    while(stack) {
        Json *json = stack.back();
        stack.removeBack();
        make_own(json->name);
        make_own(json->data);
        make_own(json->children);
        if(json->pool == nullptr) stack.append(json->children);
    }
}

// -- Tree --

Json *Json::getRoot() {
    Json *json = this;
    while(json->parent) json = json->parent;
    return json;
}

// Becomes the last child of an element.
void Json::attach(Json *new_parent) {
    if(new_parent->type == TypeUnknown) new_parent->type = name ? TypeObject : TypeArray;
    new_parent->children.append(this);
    parent = new_parent;
}

// Leaves its place among the children of its parent.
void Json::detach() {
    Array<Json *> &list = parent->children;
    for(uint32_t i = list.size(); i > 0; i--) {
        if(list.get()[i - 1] != this) continue;
        list.remove(i - 1);
        break;
    }
    parent = nullptr;
}

bool Json::setParent(Json *new_parent, bool check) {
    for(const Json *json = new_parent; json; json = json->parent) {
        KOLM_ASSERT(json != this && "Json::setParent(): invalid parent");
    }
    if(check && new_parent && name) {
        const uint32_t index = new_parent->find_child(name.get(), name.size());
        if(index != NotFound && new_parent->children[index] != this) return false;
    }
    if(parent) {
        if(new_parent == nullptr || new_parent->getRoot() != getRoot()) own_memory();
        detach();
    }
    if(new_parent) attach(new_parent);
    return true;
}

Json *Json::addChild(const char *child_name, Type child_type, bool check) {
    if(check && child_name && *child_name) {
        const uint32_t index = findChild(child_name);
        if(index != NotFound) {
            children[index]->type = child_type;
            return children[index];
        }
    }
    Json *json = new Json(this, child_name, child_type);
    KOLM_ASSERT(json && "Json::addChild(): can't allocate element");
    return json;
}

bool Json::addChild(Json *child, bool check) {
    KOLM_ASSERT(child && "Json::addChild(): invalid child");
    return child->setParent(this, check);
}

Json *Json::removeChild(Json *child) {
    KOLM_ASSERT(child && child->parent == this && "Json::removeChild(): invalid child");
    child->setParent(nullptr);
    return child;
}

void Json::removeChild(uint32_t index) {
    KOLM_ASSERT(index < children.size() && "Json::removeChild(): invalid index");
    Json *child = children[index];
    children.remove(index);
    destroy(child);
}

uint32_t Json::find_child(const char *child_name, uint32_t size) const {
    for(uint32_t i = 0; i < children.size(); i++) {
        const String &name = children.get()[i]->name;
        if(name.size() == size && memcmp(name.get(), child_name, size) == 0) return i;
    }
    return NotFound;
}

uint32_t Json::findChild(const char *child_name) const {
    const size_t size = child_name ? strlen(child_name) : 0;
    return (size <= String::MaxCapacity) ? find_child(size ? child_name : "", uint32_t(size)) : NotFound;
}

Json *Json::getChild(const char *path) {
    Json *json = this;
    if(path == nullptr) return json;
    if(path[0] == '/') json = getRoot();
    if(path[0] == '.' && (path[1] == '/' || path[1] == '\0')) path++;
    while(json) {
        while(*path == '/') path++;
        if(*path == '\0') break;
        const char *end = strchrnul(path, '/');
        if(size_t(end - path) > String::MaxCapacity) return nullptr;
        const uint32_t size = uint32_t(end - path);
        uint32_t index = json->find_child(path, size);
        if(index == NotFound && size < 10) {
            uint32_t number = 0;
            while(path < end && uint32_t(*path - '0') < 10) number = number * 10 + uint32_t(*path++ - '0');
            if(path == end && number < json->children.size() && json->children[number]->name.empty()) index = number;
        }
        json = (index != NotFound) ? json->children[index] : nullptr;
        path = end;
    }
    return json;
}

String Json::getPathName() const {
    Array<const Json *> elements;
    for(const Json *json = this; json->parent; json = json->parent) elements.append(json);
    String ret;
    if(elements.empty()) ret.append('/');
    for(uint32_t i = elements.size(); i > 0; i--) {
        const Json *json = elements[i - 1];
        ret.append('/').append(json->name);
        if(json->name) continue;
        const Array<Json *> &list = json->parent->children;
        for(uint32_t j = 0; j < list.size(); j++) {
            if(list[j] == json) String::fromu32(ret, j);
        }
    }
    return ret;
}

// -- Values --

const char *Json::getTypeName(Type type) {
    static constexpr const char *names[] = {"unknown", "null", "bool", "number", "string", "object", "array"};
    static_assert(array_size(names) == NumTypes);
    return (type < NumTypes) ? names[type] : names[TypeUnknown];
}

void Json::set_value(Type new_type, const char *text, uint32_t size) {
    type = new_type;
    data.copy(text, size);
}

void Json::setData(bool value) { set_value(TypeBool, value ? "true" : "false", value ? 4 : 5); }

void Json::setData(int64_t value) {
    set_value(TypeNumber, "", 0);
    String::fromi64(data, value);
}

void Json::setData(uint64_t value) {
    set_value(TypeNumber, "", 0);
    String::fromu64(data, value);
}

void Json::setData(float32_t value) {
    if(!isfinite(value)) return set_value(TypeNull, "null", 4);
    set_value(TypeNumber, "", 0);
    String::fromf32s(data, value);
}

void Json::setData(float64_t value) {
    if(!isfinite(value)) return set_value(TypeNull, "null", 4);
    set_value(TypeNumber, "", 0);
    String::fromf64s(data, value);
}

void Json::setData(const char *value) {
    if(value == nullptr) return set_value(TypeNull, "null", 4);
    type = TypeString;
    data.copy(value);
}

void Json::setData(const String &value) { set_value(TypeString, value.get(), value.size()); }

bool Json::getDataBool() const { return data == "true" || (isNumber() && data.tof64() != 0.0); }

template<class Value>
Value Json::get_integer(Value (*convert)(const char *, uint32_t, uint32_t *), uint32_t radix) const {
    if(radix == 10 && Parser::isFloat(data.get())) {
        constexpr Value low = Value(std::is_signed_v<Value> ? Value(1) << (sizeof(Value) * 8 - 1) : 0);
        constexpr Value high = Value(~low);
        const float64_t value = data.tof64();
        if(!(value > float64_t(low))) return low;
        return (value < float64_t(high)) ? Value(value) : high;
    }
    return convert(data.get(), radix, nullptr);
}

template int32_t Json::get_integer(int32_t (*)(const char *, uint32_t, uint32_t *), uint32_t) const;
template uint32_t Json::get_integer(uint32_t (*)(const char *, uint32_t, uint32_t *), uint32_t) const;
template int64_t Json::get_integer(int64_t (*)(const char *, uint32_t, uint32_t *), uint32_t) const;
template uint64_t Json::get_integer(uint64_t (*)(const char *, uint32_t, uint32_t *), uint32_t) const;

#define JSON_DATA(TYPE, VALUE)                               \
    TYPE Json::getData(const char *path, TYPE value) const { \
        const Json *json = getChild(path);                   \
        return json ? json->VALUE : value;                   \
    }
JSON_DATA(bool, getDataBool())
JSON_DATA(int32_t, getDatai32())
JSON_DATA(uint32_t, getDatau32())
JSON_DATA(int64_t, getDatai64())
JSON_DATA(uint64_t, getDatau64())
JSON_DATA(float32_t, getDataf32())
JSON_DATA(float64_t, getDataf64())
#undef JSON_DATA

String Json::getData(const char *path, const char *value) const {
    const Json *json = getChild(path);
    return json ? json->data : String(value);
}

String Json::getData(const char *path, const String &value) const {
    const Json *json = getChild(path);
    return json ? json->data : value;
}

} // namespace Kolm
