// KolmPlatform.h: the graphics APIs by name, and the root of every object that belongs to one of them.
// Rests on the core layer only, so that shaders have it without a device. Hides the tables of names and prefixes.

#pragma once

#include "KolmAllocator.h"

namespace Kolm {

/// Graphics APIs. The numbers are the same in the public layer.
enum Platform {
#define PLATFORM(NUMBER, NAME, ...) Platform##NAME = NUMBER,
#include "KolmPlatform.inc"
    NumPlatforms
};

/// Base of all objects of a graphics API: devices, their objects, shaders, surfaces and contexts.
class PlatformBase : public Allocated {
public:
    explicit PlatformBase(uint32_t adapter_index = 0) : adapter_index(adapter_index) {}
    PlatformBase(const PlatformBase &) = delete;
    PlatformBase &operator=(const PlatformBase &) = delete;
    virtual ~PlatformBase();

    virtual Platform getPlatform() const = 0;

    /// Index of the adapter that the object belongs to; ~0 stands for the default adapter until one is chosen.
    uint32_t getIndex() const { return adapter_index; }

#define PLATFORM(NUMBER, NAME, ...) \
    bool isPlatform##NAME() const { return (getPlatform() == Platform##NAME); }
#include "KolmPlatform.inc"

    /// Name and class prefix: "Vulkan" and "VK". Both are literals.
    const char *getPlatformName() const { return getPlatformName(getPlatform()); }
    const char *getPlatformPrefix() const;

    /// "Unknown" for values that name no platform.
    static const char *getPlatformName(Platform platform);
    /// Platform of that name in any case, or PlatformUnknown. Prefixes are no names.
    static Platform findPlatformName(const char *name);

    /// Class of this object's platform behind an abstract object. Null passes; an object of another platform is the
    /// caller's mistake.
    template<class Type, class Base> Type *cast(Base *base) const {
        KOLM_ASSERT((base == nullptr || base->getPlatform() == getPlatform()) && "Platform::cast(): invalid platform");
        return static_cast<Type *>(base);
    }
    template<class Type, class Base> const Type *cast(const Base *base) const {
        KOLM_ASSERT((base == nullptr || base->getPlatform() == getPlatform()) && "Platform::cast(): invalid platform");
        return static_cast<const Type *>(base);
    }

protected:
    void set_adapter_index(uint32_t index) { adapter_index = index; }

    uint32_t adapter_index;
};

/// Whether this build knows the platform's API.
bool isPlatformAvailable(Platform platform);

} // namespace Kolm
