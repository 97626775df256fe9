// KolmFence.h: points in the work of a device that others wait for: the host, other devices and other processes.

#pragma once

#include "KolmPlatform.h"
#include "KolmString.h"

namespace Kolm {

/// Counts the signals that a device was asked for and those that it reached. Device::signalFence(), flip() and
/// Target::end() ask for one; Device::waitFence() and Target::begin() let a device wait for the last one, wait() the
/// host.
class Fence : public PlatformBase {
public:
    enum Flags : uint32_t {
        FlagNone = 0,
        FlagShared = 1 << 0,   ///< has a handle for other devices and processes
        FlagTimeline = 1 << 1, ///< earlier signals stay known: wait(value) takes any of them
        DefaultFlags = FlagNone,
        NumFlags = 2
    };
    /// Timeout of a wait without end.
    static constexpr uint64_t Infinite = ~uint64_t(0);

    explicit Fence(uint32_t index) : PlatformBase(index) {}

    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    /// FlagTimeline is refused with one line on a device that has no timelines.
    virtual bool create(Flags flags = DefaultFlags) = 0;
    /// Fence on the handle of a Shared fence, which may belong to another device.
    virtual bool create(Fence *fence) = 0;
    /// File descriptor of a Shared fence, which the caller closes; -1 for others.
    virtual int32_t getHandle() const = 0;

    const String &getName() const { return fence_name; }
    Flags getFlags() const { return fence_flags; }
    bool hasFlag(Flags flags) const { return (fence_flags & flags) != 0; }
    bool hasFlags(Flags flags) const { return (fence_flags & flags) == uint32_t(flags); }

    /// Signals asked for.
    uint64_t getValue() const { return fence_value; }
    /// Whether the last signal was reached. True for a fence that never was to be signalled. Does not wait.
    bool isSignaled() const;

    /// Waits until the last signal, or that of \p value, for at most \p timeout nanoseconds. The work behind a signal
    /// has to be submitted. False, silently, when the time is over, and with one line for a value never asked for.
    bool wait(uint64_t timeout = Infinite) const;
    bool wait(uint64_t value, uint64_t timeout) const;

protected:
    friend class Device;
    friend class Target;

    bool init(Flags flags);
    bool init(const Fence *src);

    /// Waits for a value from 1 to getValue(); timeout 0 only asks. False, silently, when the time is over.
    virtual bool wait_value(uint64_t value, uint64_t timeout) const = 0;

    String fence_name;
    Flags fence_flags = FlagNone;
    uint64_t fence_value = 0;
};

inline Fence::Flags operator|(Fence::Flags a, Fence::Flags b) { return Fence::Flags(uint32_t(a) | uint32_t(b)); }

} // namespace Kolm
