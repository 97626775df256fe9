// The block of members that all handle classes share, written once and declared by one macro line per class.
//
// A public class holds no data but a small opaque record that points at an object inside the library and at a counter
// shared by all handles of that object. Handles are plain values: keep them on the stack or in arrays, copy them
// freely. Copies refer to one object, as pointers do; clonePtr() is what copies the object itself.
//
// For a class Blob derived from Stream, the line OSTREVAN_HANDLE(Blob) stands for this:
//
//     class OSTREVAN_API Blob : public Stream {
//     public:
//         virtual ~Blob();
//         /// "Blob", for the most derived class of the handle and for this class.
//         virtual const char *getClassName() const;
//         static const char *getClassNamePtr();
//
//         /// Empty handle: no object, and none is made before the first use.
//         explicit Blob(const VoidImpl &);
//
//         /// Another handle of the same object. Copying a const handle gives a const handle; the forms that take
//         /// a non-const reference end the process for a const handle. A handle that was moved from is empty and
//         /// can't make an object.
//         Blob(const Blob &handle);
//         Blob(Blob &handle);
//         Blob(Blob &&handle) noexcept;
//         Blob &operator=(const Blob &handle);
//         Blob &operator=(Blob &handle);
//         Blob &operator=(Blob &&handle) noexcept;
//
//         /// Compare the addresses of the objects.
//         bool operator==(const Blob &handle) const;      // and !=, <=, >=, <, >
//
//         /// True if the object exists and was used. `Blob blob;` is false until the first call that needs it.
//         explicit operator bool() const;
//
//         /// New handle of a copy of the object, of which it is the owner. Ends the process for classes whose
//         /// objects can't be copied.
//         Blob clonePtr() const;
//
//         /// Lets go of the object; other handles keep it. The handle is empty afterwards.
//         void clearPtr();
//         /// Deletes the object, for all handles of it. The handle is empty afterwards.
//         void destroyPtr();
//
//         /// Gives the object to its handles, and takes it from them: the last handle deletes it only if it is owned.
//         Blob &acquirePtr();
//         Blob &unacquirePtr();
//
//         /// True if there is an object, or one can be made on first use.
//         bool isValidPtr() const;
//         /// True if the last handle will delete the object.
//         bool isOwnerPtr() const;
//         /// True if methods that change the object end the process.
//         bool isConstPtr() const;
//         /// Number of records that share the object: one for each class of the chain in each handle.
//         uint32_t getCountPtr() const;
//         /// Address of the object, null for an empty handle.
//         const void *getInternalPtr() const;
//
//         /// Empty handle to compare with and to pass.
//         static const Blob null;
//
//         struct BlobImpl;                                // the record, for the library's own use
//         BlobImpl &impl();
//         const BlobImpl &impl() const;
//
//     private:
//         void *reserved[4];                              // storage of the record
//         ...
//
// Each class of a chain has a record of its own, typed for its own object. OSTREVAN_LEAF_HANDLE declares the same for
// classes from which none derives: they have no virtual members, and the record stands at the start of the handle.
//
// The state of a handle, and who deletes what, is told in docs/foundation.md.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// Tag of the constructor that makes an empty handle.
struct VoidImpl {};

} // namespace Ostrevan

/// Members of a class that others derive from, or that derives from another.
#define OSTREVAN_HANDLE(NAME)                 \
public:                                       \
    virtual ~NAME();                          \
    virtual const char *getClassName() const; \
    OSTREVAN_HANDLE_MEMBERS(NAME)

/// Members of a class without relations.
#define OSTREVAN_LEAF_HANDLE(NAME)    \
public:                               \
    ~NAME();                          \
    const char *getClassName() const; \
    OSTREVAN_HANDLE_MEMBERS(NAME)

// The part that both kinds share.
#define OSTREVAN_HANDLE_MEMBERS(NAME)               \
    static const char *getClassNamePtr();           \
    explicit NAME(const ::Ostrevan::VoidImpl &);    \
    NAME(const NAME &handle);                       \
    NAME(NAME &handle);                             \
    NAME(NAME &&handle) noexcept;                   \
    NAME &operator=(const NAME &handle);            \
    NAME &operator=(NAME &handle);                  \
    NAME &operator=(NAME &&handle) noexcept;        \
    bool operator==(const NAME &handle) const;      \
    bool operator!=(const NAME &handle) const;      \
    bool operator<=(const NAME &handle) const;      \
    bool operator>=(const NAME &handle) const;      \
    bool operator<(const NAME &handle) const;       \
    bool operator>(const NAME &handle) const;       \
    explicit operator bool() const;                 \
    NAME clonePtr() const;                          \
    void clearPtr();                                \
    void destroyPtr();                              \
    NAME &acquirePtr();                             \
    NAME &unacquirePtr();                           \
    bool isValidPtr() const;                        \
    bool isOwnerPtr() const;                        \
    bool isConstPtr() const;                        \
    uint32_t getCountPtr() const;                   \
    const void *getInternalPtr() const;             \
    static const NAME null;                         \
    struct NAME##Impl;                              \
    OSTREVAN_HIDDEN NAME##Impl &impl();             \
    OSTREVAN_HIDDEN const NAME##Impl &impl() const; \
                                                    \
private:                                            \
    void *reserved[4];                              \
                                                    \
public:
