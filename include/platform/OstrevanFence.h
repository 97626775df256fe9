// Points in the work of a device that others wait for.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Counts the signals that a device was asked for and those that it reached, made by Device::createFence().
/// Device::signalFence(), flip() and Target::end() ask for one; Device::waitFence() and Target::begin() let a device wait
/// for the last one, wait() the host.
class OSTREVAN_API Fence {
    OSTREVAN_HANDLE(Fence)
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

    Fence();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the fence belongs to.
    uint32_t getIndex() const;

    void clear();
    bool isCreated() const;
    /// False if the reason was logged, such as timelines or handles that the device does not have.
    bool create(Flags flags = DefaultFlags);
    /// Fence on the handle of a Shared fence, which may belong to another device.
    bool create(const Fence &fence);
    /// File descriptor of a Shared fence, which the caller closes; -1 for others.
    int32_t getHandle() const;

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;
    Flags getFlags() const;
    /// Whether all of the flags are set, and whether one of them is.
    bool hasFlags(Flags flags) const;
    bool hasFlag(Flags flags) const;

    /// Signals asked for.
    uint64_t getValue() const;
    /// Whether the last signal was reached. True for a fence that never was to be signalled. Does not wait.
    bool isSignaled() const;
    /// Waits until the last signal, or that of \p value, for at most \p timeout nanoseconds. The work behind a signal
    /// has to be submitted. False, silently, when the time is over, and with one line for a value never asked for.
    bool wait(uint64_t timeout = Infinite) const;
    bool wait(uint64_t value, uint64_t timeout) const;
};

inline Fence::Flags operator|(Fence::Flags a, Fence::Flags b) { return Fence::Flags(uint32_t(a) | uint32_t(b)); }

} // namespace Ostrevan
