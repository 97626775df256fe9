// KolmOffscreen.h: a platform's context without a window, the class behind the public Context.

#pragma once

#include "KolmPlatform.h"

namespace Kolm {

/// Adapter and queue of a platform. Belongs to the thread that creates it.
class Offscreen : public PlatformBase {
public:
    /// \p index is the adapter, ~0 the default one; getIndex() tells the real one once the context is created.
    explicit Offscreen(uint32_t index) : PlatformBase(index) {}

    virtual bool isCreated() const = 0;
    /// Opens the platform's API on first use. Twice is refused with a line.
    virtual bool create() = 0;
    /// Submits recorded work; finish() waits for it as well.
    virtual bool flush() = 0;
    virtual bool finish() = 0;
};

} // namespace Kolm
