// KolmCaller.h: names the operation that is under way in the messages of the abstract layer.
// Rests on platforms and the log. Every rule about a call's arguments speaks through it, so that a misuse is one line
// "VKCompute::setTexture(): text" that tells the object, what was given and what is allowed.

#pragma once

#include <string.h>

#include "KolmLog.h"
#include "KolmPlatform.h"
#include "KolmString.h"

namespace Kolm {

/// Method of a backend's class: its platform's prefix, the abstract class's name and the method's.
struct Caller {
    const PlatformBase &self;
    const char *name;   // "Compute"
    const char *method; // "setTexture"

    /// The caller's mistake: ends the process.
    [[noreturn]] void fail(const char *format, ...) const KOLM_PRINTF(2, 3);
    /// The world's failure: one line, and false to return.
    bool error(const char *format, ...) const KOLM_PRINTF(2, 3);
    bool warning(const char *format, ...) const KOLM_PRINTF(2, 3);

    /// Name for messages.
    static const char *getText(const String &name) { return name ? name.get() : "unnamed"; }
    template<class Type> static const char *getText(const Type *object) {
        if constexpr(requires { object->getName(); })
            return getText(object->getName());
        else
            return "this";
    }

    /// Expects an object of the caller's platform.
    template<class Type> void checkPlatform(const char *kind, const Type *object) const {
        if(KOLM_UNLIKELY(object == nullptr)) fail("%s is null", kind);
        if(KOLM_UNLIKELY(object->getPlatform() != self.getPlatform())) {
            fail("invalid platform: %s %s is of %s", getText(object), kind, object->getPlatformName());
        }
    }
    /// Expects a created object of the caller's platform.
    template<class Type> void checkCreated(const char *kind, const Type *object) const {
        checkPlatform(kind, object);
        if(KOLM_UNLIKELY(!object->isCreated())) fail("%s %s is not created", getText(object), kind);
    }
    /// Expects a created buffer or texture that has \p flag. \p kind tells the argument, with the class as last word.
    template<class Type> void checkFlag(const char *kind, const Type *object, typename Type::Flags flag) const {
        checkCreated(kind, object);
        if(KOLM_LIKELY(object->hasFlags(flag))) return;
        const char *space = strrchr(kind, ' ');
        String flag_name = Type::getFlagsName(flag);
        flag_name.removeBack();
        fail("invalid %s: %s %s (%s) needs the flag %s", kind, getText(object), space ? space + 1 : kind,
             object->getDescription().get(), flag_name.get());
    }
    /// Expects a list unless it is empty.
    template<class Type> void checkList(const char *kind, Type *list, uint32_t num) const {
        if(KOLM_UNLIKELY(num && list == nullptr)) fail("%s are null", kind);
    }
};

} // namespace Kolm
