// Ordered set over Tree.

#pragma once

#include <core/OstrevanTree.h>

namespace Ostrevan {

template<class Key> struct SetCompare {
    template<class Other> static int32_t compare(const Key &a, const Other &b) {
        return (a < b) ? -1 : (a > b) ? 1 : 0;
    }
};

template<class Key, class Compare = SetCompare<Key>> class Set : public Tree<Key, Compare> {};

} // namespace Ostrevan
