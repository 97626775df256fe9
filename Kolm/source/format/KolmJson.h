// A document of JSON as a tree of elements.
//
// A text is parsed in place: the tree keeps it, and names and values are strings that look at it. KolmJson.cpp holds the
// tree and its values, KolmJsonReader.cpp the parser, KolmJsonWriter.cpp what saves. Rests on Parser, Stream and the
// block allocators. Hides where the memory of an element lies.

#pragma once

#include "KolmArray.h"
#include "KolmBlockAllocator.h"
#include "KolmSmallAllocator.h"
#include "KolmString.h"

namespace Kolm {

class Stream;

/// Element of a document. Values are kept as text and converted on each call. An element owns its children; one that has
/// a parent leaves it when it is deleted. A tree is used by one thread at a time, distinct trees by any.
///
/// Names and values of a parsed tree lie in the text that its root has kept. Whatever leaves the tree takes copies along
/// and may outlive it. No operation recurses, so that trees may be of any depth.
class Json : public SmallAllocator<Json, 1024> {
public:
    static constexpr uint32_t StackSize = 2048; // elements that may be open in a text
    static constexpr uint32_t JsonCapacity = 4; // least number of child slots of a parsed element
    static constexpr uint32_t JsonSize = 32768; // child slots in a block
    static constexpr uint32_t NotFound = 0xFFFFFFFF;

    enum Type : uint32_t {
        TypeUnknown = 0,
        TypeNull,
        TypeBool,
        TypeNumber,
        TypeString,
        TypeObject,
        TypeArray,
        NumTypes
    };

    Json() = default;
    explicit Json(Type type) : type(type) {}
    explicit Json(const char *name, Type type = TypeUnknown) : type(type), name(name) {}
    /// A child of \p parent, which owns it; null makes a root.
    explicit Json(Json *parent, Type type = TypeUnknown) : Json(parent, nullptr, type) {}
    Json(Json *parent, const char *name, Type type = TypeUnknown);
    /// A root with copies of the element and of all below it.
    Json(const Json &json) { copy(json); }
    Json(Json &&json) noexcept { move(json); }
    ~Json();
    Json &operator=(const Json &json) {
        copy(json);
        return *this;
    }
    Json &operator=(Json &&json) noexcept {
        move(json);
        return *this;
    }

    /// Deletes the children and forgets type, name and value. The element keeps its place in a tree, and there its name.
    void clear();
    /// Becomes a copy of type, name, value and children, or takes them over and leaves \p json clear. Neither changes
    /// its place. Expects that neither lies below the other.
    void copy(const Json &json);
    void move(Json &json);

    // -- Texts --

    /// Parses \p size bytes of \p src, up to its terminator if \p size is 0. Bytes behind a terminator are a fault.
    /// With \p owner the caller gives up \p src, a block of \p size bytes from Allocator that holds a terminated text.
    /// A text with a byte order mark of UTF-8 or UTF-16 is converted, others are taken as UTF-8 and not checked.
    /// Returns false, logs message, line number and the rest of that line, and leaves the element clear for a text that
    /// is no JSON, is nested deeper than StackSize, or doesn't fit into memory.
    ///
    /// Beside what the standard allows, a backslash at the end of a line continues a string. Lone surrogates in escapes
    /// become U+FFFD, names may occur again in an object.
    bool create(const char *src, size_t size = 0, bool owner = false);
    /// The same with the contents of a file, or with the rest of a stream.
    bool load(const char *name);
    bool load(Stream &stream);
    /// Writes the element and all below it; one that has a name and no parent stands in an object that gives it that
    /// name. \p compact leaves all white space out. Returns false and logs what can't be written: elements of unknown
    /// type, children of plain values, names in arrays, elements without name in objects.
    bool save(const char *name, bool compact = false) const;
    bool save(Stream &stream, bool compact = false) const;

    // -- Tree --

    Json *getRoot();
    const Json *getRoot() const { return const_cast<Json *>(this)->getRoot(); }
    /// Moves the element to the end of the children of \p parent, which owns it from then on; null makes it a root that
    /// belongs to the caller. With \p check it stays where it is, and the result is false, if another child of
    /// \p parent has its name. Expects that \p parent doesn't lie below the element.
    bool setParent(Json *parent, bool check = false);
    Json *getParent() { return parent; }
    const Json *getParent() const { return parent; }
    /// Makes a child. With \p check, names stay unique: a child of that name that is already there is returned instead,
    /// with its type set to \p type. An element of unknown type becomes an object, or an array if \p name is empty.
    Json *addChild(const char *name, Type type = TypeUnknown, bool check = false);
    /// The same as setParent() of \p child, which is owned from then on.
    bool addChild(Json *child, bool check = false);
    /// Takes the child out of the tree: it belongs to the caller, or is deleted. Expects a child of this element.
    Json *removeChild(Json *child);
    void removeChild(uint32_t index);
    /// Deletes all children and gives the memory of their list back.
    void releaseChildren();

    /// First child of that name, NotFound or null if there is none.
    uint32_t findChild(const char *name) const;
    bool isChild(const char *name) const { return findChild(name) != NotFound; }
    const Array<Json *> &getChildren() const { return children; }
    uint32_t getNumChildren() const { return children.size(); }
    Json *getChild(uint32_t index) { return children.get(index); }
    const Json *getChild(uint32_t index) const { return children.get(index); }
    Json *getChild(int32_t index) { return children.get(uint32_t(index)); } // a plain 0 is no path
    const Json *getChild(int32_t index) const { return children.get(uint32_t(index)); }
    /// Element at a path of names with '/' between them; null if there is none. A leading '/' starts at the root, a
    /// leading "./" is skipped, the empty path is the element itself. A decimal index stands for a child without name.
    Json *getChild(const char *path);
    const Json *getChild(const char *path) const { return const_cast<Json *>(this)->getChild(path); }
    /// Path from the root that getChild() takes.
    String getPathName() const;

    // -- Element --

    void setName(const char *new_name) { name.copy(new_name); }
    void setName(const String &new_name) { name.copy(new_name); }
    const String &getName() const { return name; }
    void setType(Type new_type) { type = new_type; }
    Type getType() const { return type; }
    static const char *getTypeName(Type type);
    const char *getTypeName() const { return getTypeName(type); }
    bool isUnknown() const { return type == TypeUnknown; }
    bool isNull() const { return type == TypeNull; }
    bool isBool() const { return type == TypeBool; }
    bool isNumber() const { return type == TypeNumber; }
    bool isString() const { return type == TypeString; }
    bool isObject() const { return type == TypeObject; }
    bool isArray() const { return type == TypeArray; }

    /// Sets type and value; children stay. Floats are kept as the shortest text that reads back, those that are not
    /// finite become null. A null text becomes null.
    void setData(bool value);
    void setData(int32_t value) { setData(int64_t(value)); }
    void setData(uint32_t value) { setData(uint64_t(value)); }
    void setData(int64_t value);
    void setData(uint64_t value);
    void setData(float32_t value);
    void setData(float64_t value);
    void setData(const char *value);
    void setData(const String &value);
    /// An array of these values in place of the children.
    template<class Value> void setData(const Value *values, uint32_t size) {
        releaseChildren();
        set_value(TypeArray, "", 0);
        for(uint32_t i = 0; i < size; i++) addChild(static_cast<const char *>(nullptr))->setData(values[i]);
    }
    template<class Value> void setData(const Array<Value> &values) { setData(values.get(), values.size()); }

    /// The value's text, for numbers and words too.
    const String &getData() const { return data; }
    /// True for "true" and for a number that is not 0.
    bool getDataBool() const;
    /// The number at the start of the text, 0 if there is none. Integers wrap, as in String; what has a fraction or an
    /// exponent is cut to an integer and limited to the type's range.
    int32_t getDatai32(uint32_t radix = 10) const { return get_integer<int32_t>(String::toi32, radix); }
    uint32_t getDatau32(uint32_t radix = 10) const { return get_integer<uint32_t>(String::tou32, radix); }
    int64_t getDatai64(uint32_t radix = 10) const { return get_integer<int64_t>(String::toi64, radix); }
    uint64_t getDatau64(uint32_t radix = 10) const { return get_integer<uint64_t>(String::tou64, radix); }
    float32_t getDataf32() const { return data.tof32(); }
    float64_t getDataf64() const { return data.tof64(); }
    /// The value if it is of that type, otherwise 0 or the empty text.
    float64_t getNumber() const { return isNumber() ? data.tof64() : 0.0; }
    const String &getString() const { return isString() ? data : String::null; }

    /// Value of the element at a path, see getChild(); \p value if there is none.
    bool getData(const char *path, bool value) const;
    int32_t getData(const char *path, int32_t value) const;
    uint32_t getData(const char *path, uint32_t value) const;
    int64_t getData(const char *path, int64_t value) const;
    uint64_t getData(const char *path, uint64_t value) const;
    float32_t getData(const char *path, float32_t value) const;
    float64_t getData(const char *path, float64_t value) const;
    String getData(const char *path, const char *value) const;
    String getData(const char *path, const String &value) const;

private:
    class Reader;
    class Writer;

    /// What a parsed tree looks at.
    struct Pool : Allocated {
        Pool(char *source, size_t size, size_t capacity) : size(size), source(source), json(capacity) {}
        ~Pool() { Allocator::free(source, size); }

        size_t size; // bytes that were allocated
        char *source;
        BlockAllocator<Json *> json; // child slots
    };

    // An element of a text that is being read.
    Json(Json *parent, Pool *) : parent(parent) {}

    bool parse(char *source, size_t length, size_t size);
    void set_value(Type type, const char *text, uint32_t size);
    void attach(Json *parent);
    void detach();
    void own_memory();
    void forget_memory();
    static void destroy(Json *json);
    static void destroy(Json *json, Batch &batch);
    uint32_t find_child(const char *name, uint32_t size) const;
    template<class Value> Value get_integer(Value (*convert)(const char *, uint32_t, uint32_t *), uint32_t radix) const;

    Json *parent = nullptr;
    Array<Json *> children;
    Type type = TypeUnknown;
    String name; // key within an object, empty within an array
    String data;
    Pool *pool = nullptr; // of the element as which a text was parsed
};

} // namespace Kolm
