// Record of the public string, and how strings cross the layer.
//
// A public string is no reference handle: it holds a core string with room for short texts. It can also look at a string
// that lives in the core layer, until it is changed or copied.

#pragma once

#include <core/OstrevanString.h>

#include "KolmString.h"

namespace Ostrevan {

struct String::StringImpl {
    StringImpl() : ptr(&string) {}
    StringImpl(const StringImpl &) = delete;
    StringImpl &operator=(const StringImpl &) = delete;

    /// To read: the string, wherever it is.
    const Kolm::String &ref() const { return *ptr; }
    /// To change: a text that was only looked at becomes one of its own.
    Kolm::String &ref() {
        if(KOLM_UNLIKELY(ptr != &string)) set(*ptr);
        return string;
    }

    /// Looks at a string of the core layer, which must live as long as this one looks.
    void set(const Kolm::String *str) { ptr = str; }
    void set(const Kolm::String &str) {
        string.copy(str);
        ptr = &string;
    }
    void set(Kolm::String &&str) {
        string.move(str);
        ptr = &string;
    }
    /// Takes the text over; \p impl is empty afterwards. What it only looked at is copied.
    void move(StringImpl &impl) {
        if(this == &impl) return;
        if(impl.ptr == &impl.string) {
            set(std::move(static_cast<Kolm::String &>(impl.string)));
        } else {
            set(*impl.ptr);
        }
        impl.ptr = &impl.string;
        impl.string.clear();
    }

    /// Public string of a core string: a copy, the text itself, or one that looks at it. What an application may keep is
    /// never of the last kind; it is for arguments of callbacks.
    static String TS(const Kolm::String &str) {
        String ret;
        ret.impl().set(str);
        return ret;
    }
    static String TS(Kolm::String &&str) {
        String ret;
        ret.impl().set(std::move(str));
        return ret;
    }
    static String TS(const Kolm::String *str) {
        String ret;
        if(str) ret.impl().set(str);
        return ret;
    }

    Kolm::StringStack<31> string; // the text, unless ptr is aimed elsewhere
    const Kolm::String *ptr;      // never null
};

inline String::StringImpl &String::impl() { return *std::launder(reinterpret_cast<StringImpl *>(reserved)); }
inline const String::StringImpl &String::impl() const {
    return *std::launder(reinterpret_cast<const StringImpl *>(reserved));
}

/// Strings at the boundary: what the core layer returned, and what an application passed.
inline String getPublicString(const Kolm::String &str) { return String::StringImpl::TS(str); }
inline String getPublicString(Kolm::String &&str) { return String::StringImpl::TS(std::move(str)); }
inline const Kolm::String &getCoreString(const String &str) { return str.impl().ref(); }

} // namespace Ostrevan
