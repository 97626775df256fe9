// KolmFence.cpp: signals and waits of the host.

#include "KolmFence.h"

#include "KolmCaller.h"

namespace Kolm {

void Fence::clear() {
    fence_name.clear();
    fence_flags = FlagNone;
    fence_value = 0;
}

void Fence::setName(const char *name) { fence_name = (name) ? name : ""; }

bool Fence::init(Flags flags) {
    KOLM_ASSERT(!isCreated() && "Fence::create(): is already created");
    KOLM_ASSERT((flags >> NumFlags) == 0 && "Fence::create(): invalid flags");
    fence_flags = flags;
    fence_value = 0;
    return true;
}

bool Fence::init(const Fence *src) {
    KOLM_ASSERT(!isCreated() && "Fence::create(): is already created");
    const char *message = nullptr;
    if(src == nullptr || !src->isCreated()) {
        message = "Fence::create(): fence is not created\n";
    } else if(!src->hasFlag(FlagShared)) {
        message = "Fence::create(): fence has no Shared flag\n";
    }
    if(message) {
        Log::print(Log::Error, message);
        clear();
        return false;
    }
    fence_flags = Flags(src->fence_flags & ~FlagShared);
    fence_value = src->fence_value;
    return true;
}

bool Fence::isSignaled() const {
    KOLM_ASSERT(isCreated() && "Fence::isSignaled(): fence is not created");
    return (fence_value == 0 || wait_value(fence_value, 0));
}

bool Fence::wait(uint64_t timeout) const {
    KOLM_ASSERT(isCreated() && "Fence::wait(): fence is not created");
    return (fence_value == 0 || wait_value(fence_value, timeout));
}

bool Fence::wait(uint64_t value, uint64_t timeout) const {
    const Caller caller = {*this, "Fence", "wait"};
    KOLM_ASSERT(isCreated() && "Fence::wait(): fence is not created");
    if(value > fence_value) {
        return caller.error("invalid value %llu of %s fence: it has %llu", static_cast<unsigned long long>(value),
                            Caller::getText(this), static_cast<unsigned long long>(fence_value));
    }
    if(value != fence_value && !hasFlag(FlagTimeline)) {
        return caller.error("invalid value %llu of %s fence: it has no Timeline flag",
                            static_cast<unsigned long long>(value), Caller::getText(this));
    }
    return (value == 0 || wait_value(value, timeout));
}

} // namespace Kolm
