// VKCache.h: objects of Vulkan that are found again by what they were made of.

#pragma once

#include "KolmMap.h"
#include "VK.h"

namespace Kolm {

/// \p Key is a record with `==` and `getHash()`, 32 bits. May be used from any thread; what an entry is made with runs
/// under the lock, so that equal keys give one object.
template<class Key, class Handle> class VKCache : private NoCopy {
public:
    /// Object of \p key, made by \p create if there is none yet. Null, and nothing kept, if that gives null.
    template<class Create> Handle get(const Key &key, Create create) {
        AtomicLock atomic(lock);
        // Different contents with one hash stand at the next free numbers.
        uint32_t hash = key.getHash();
        while(Item **item = items.get(hash)) {
            if((*item)->key == key) return (*item)->handle;
            hash++;
        }
        const Handle handle = create();
        if(handle == VK_NULL_HANDLE) return VK_NULL_HANDLE;
        items.append(hash, new Item(key, handle));
        return handle;
    }
    uint32_t size() const { return items.size(); }
    /// Gives all objects to \p release and forgets them.
    template<class Release> void clear(Release release) {
        AtomicLock atomic(lock);
        for(const auto &item : items) {
            release(item.data->handle);
            delete item.data;
        }
        items.clear();
    }

private:
    struct Item : public Allocated {
        Item(const Key &key, Handle handle) : key(key), handle(handle) {}
        Key key;
        Handle handle;
    };

    SpinLock lock;
    Map<uint32_t, Item *> items;
};

} // namespace Kolm
