// Documents of JSON.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <core/OstrevanString.h>

namespace Ostrevan {

/// Element of a document, with its children. Values are kept as text and converted on each call. A tree is used by one
/// thread at a time, distinct trees by any.
///
/// An element owns its children: handles to them are views that don't keep them alive. A handle that owns an element
/// hands it over when the element becomes a child, and gets it back when the child is taken out. Copies of a handle share
/// the element; clonePtr() copies it with all below.
class OSTREVAN_API Json {
    OSTREVAN_LEAF_HANDLE(Json)
public:
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
    /// Result of a search that found nothing.
    static constexpr uint32_t NotFound = 0xFFFFFFFF;

    Json();
    explicit Json(Type type);
    explicit Json(const char *name, Type type = TypeUnknown);
    /// A child of \p parent, which owns it; an empty handle makes a root.
    explicit Json(Json *parent, Type type = TypeUnknown);
    Json(Json *parent, const char *name, Type type = TypeUnknown);

    /// Deletes the children and forgets type, name and value. The element keeps its place in a tree, and there its name.
    void clear();
    /// Becomes a copy of type, name, value and children of \p json, and keeps its place in a tree. Expects that neither
    /// lies below the other.
    void copy(const Json &json);

    // texts

    /// Parses a terminated text, or \p size bytes of it. A text with a byte order mark of UTF-8 or UTF-16 is converted,
    /// others are taken as UTF-8 and not checked. Returns false, logs message, line number and the rest of that line, and
    /// leaves the element clear for a text that is no JSON, is nested deeper than 2048, or doesn't fit into memory.
    ///
    /// Beside what the standard allows, a backslash at the end of a line continues a string. Lone surrogates in escapes
    /// become U+FFFD, names may occur again in an object.
    ///
    /// With \p owner the caller gives up \p src, a block of \p size bytes from Allocator that holds a terminated text.
    bool create(const char *src, size_t size = 0, bool owner = false);
    bool create(const String &src);
    /// The same with the contents of a file, or with the rest of a stream.
    bool load(const char *name);
    bool load(const String &name);
    bool load(Stream &stream);
    /// Writes the element and all below it; one that has a name and no parent stands in an object that gives it that
    /// name. \p compact leaves all white space out. Returns false and logs what can't be written: elements of unknown
    /// type, children of plain values, names in arrays, elements without name in objects.
    bool save(const char *name, bool compact = false) const;
    bool save(const String &name, bool compact = false) const;
    bool save(Stream &stream, bool compact = false) const;

    // tree

    /// Handles of other elements are views; an empty handle stands for none.
    Json getRoot();
    const Json getRoot() const;
    /// Moves the element to the end of the children of \p parent, which owns it from then on. With \p check it stays where
    /// it is, and the result is false, if another child of \p parent has its name. Expects that \p parent doesn't lie
    /// below the element.
    bool setParent(Json &parent, bool check = false);
    Json getParent();
    const Json getParent() const;
    /// Makes a child. With \p check, names stay unique: a child of that name that is already there is returned instead,
    /// with its type set to \p type. An element of unknown type becomes an object, or an array if \p name is empty.
    Json addChild(const char *name, Type type = TypeUnknown, bool check = false);
    Json addChild(const String &name, Type type = TypeUnknown, bool check = false);
    /// A child with that value.
    template<class Value> Json addChild(const char *name, const Value &value) {
        Json json = addChild(name);
        json.setData(value);
        return json;
    }
    /// The same as setParent() of \p child.
    bool addChild(Json &child, bool check = false);
    bool addChild(Json &&child, bool check = false) { return addChild(child, check); }
    /// Takes the child out of the tree: \p child owns it then. Expects a child of this element.
    void removeChild(Json &child);
    /// Deletes a child.
    void removeChild(uint32_t index);
    /// Deletes all children and gives the memory of their list back.
    void releaseChildren();

    uint32_t findChild(const char *name) const;
    bool isChild(const char *name) const;
    const Array<Json> getChildren() const;
    Array<Json> getChildren();
    uint32_t getNumChildren() const;
    const Json getChild(uint32_t index) const;
    Json getChild(uint32_t index);
    const Json getChild(int32_t index) const { return getChild(static_cast<uint32_t>(index)); } // a plain 0 is no path
    Json getChild(int32_t index) { return getChild(static_cast<uint32_t>(index)); }
    /// Element at a path of names with '/' between them. A leading '/' starts at the root, a leading "./" is skipped, the
    /// empty path is the element itself. A decimal index stands for a child without name.
    const Json getChild(const char *path) const;
    Json getChild(const char *path);
    /// Path from the root that getChild() takes.
    String getPathName() const;

    // element

    void setName(const char *name);
    void setName(const String &name);
    String getName() const;
    void setType(Type type);
    Type getType() const;
    static const char *getTypeName(Type type);
    const char *getTypeName() const;
    bool isUnknown() const { return getType() == TypeUnknown; }
    bool isNull() const { return getType() == TypeNull; }
    bool isBool() const { return getType() == TypeBool; }
    bool isNumber() const { return getType() == TypeNumber; }
    bool isString() const { return getType() == TypeString; }
    bool isObject() const { return getType() == TypeObject; }
    bool isArray() const { return getType() == TypeArray; }

    /// Sets type and value; children stay. Floats are kept as the shortest text that reads back, those that are not
    /// finite become null. A null text becomes null.
    void setData(bool value);
    void setData(int32_t value);
    void setData(uint32_t value);
    void setData(int64_t value);
    void setData(uint64_t value);
    void setData(float32_t value);
    void setData(float64_t value);
    void setData(const char *value);
    void setData(const String &value);
    /// An array of these values in place of the children.
    template<class Value> void setData(const Value *values, uint32_t size) {
        releaseChildren();
        setType(TypeArray);
        for(uint32_t i = 0; i < size; i++) addChild(static_cast<const char *>(nullptr)).setData(values[i]);
    }
    template<class Value> void setData(const Array<Value> &values) { setData(values.get(), values.size()); }

    /// The value's text, for numbers and words too.
    String getData() const;
    /// True for "true" and for a number that is not 0.
    bool getDataBool() const;
    /// The number at the start of the text, 0 if there is none. Integers wrap; what has a fraction or an exponent is cut
    /// to an integer and limited to the type's range.
    int32_t getDatai32(uint32_t radix = 10) const;
    uint32_t getDatau32(uint32_t radix = 10) const;
    int64_t getDatai64(uint32_t radix = 10) const;
    uint64_t getDatau64(uint32_t radix = 10) const;
    float32_t getDataf32() const;
    float64_t getDataf64() const;
    /// The value if it is of that type, otherwise 0 or the empty text.
    float64_t getNumber() const;
    String getString() const;

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
};

} // namespace Ostrevan
