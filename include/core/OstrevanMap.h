// Ordered map over Tree.

#pragma once

#include <core/OstrevanTree.h>

namespace Ostrevan {

template<class Key, class Data> struct MapData {
    MapData() = default;
    MapData(const Key &key, const Data &data) : key(key), data(data) {}
    MapData(const Key &key, Data &&data) : key(key), data(std::move(data)) {}

    Key key;
    Data data;
};

/// Compares by the key alone, with `<` of the key type; keys of other types compare without conversion.
template<class Key, class Data> struct MapCompare {
    static int32_t compare(const MapData<Key, Data> &a, const MapData<Key, Data> &b) { return compare(a, b.key); }
    template<class Other> static int32_t compare(const MapData<Key, Data> &a, const Other &key) {
        return (a.key < key) ? -1 : (a.key > key) ? 1 : 0;
    }
};

template<class Key, class Data, class Compare = MapCompare<Key, Data>>
class Map : public Tree<MapData<Key, Data>, Compare> {
    using Base = Tree<MapData<Key, Data>, Compare>;

public:
    using Iterator = typename Base::Iterator;
    using ConstIterator = typename Base::ConstIterator;

    using Base::append;
    /// Sets the data of \p key, which is added if it is absent.
    Iterator append(const Key &key, const Data &data) { return Base::append(MapData<Key, Data>(key, data)); }
    Iterator append(const Key &key, Data &&data) { return Base::append(MapData<Key, Data>(key, std::move(data))); }

    /// Data of a key that must be there.
    template<class Other> Data &operator[](const Other &key) {
        auto *data = Base::get(key);
        OSTREVAN_ASSERT(data && "Map::operator[](): invalid key");
        return data->data;
    }
    template<class Other> const Data &operator[](const Other &key) const {
        const auto *data = Base::get(key);
        OSTREVAN_ASSERT(data && "Map::operator[](): invalid key");
        return data->data;
    }
    /// Data of \p key, or null.
    template<class Other> Data *get(const Other &key) {
        auto *data = Base::get(key);
        return data ? &data->data : nullptr;
    }
    template<class Other> const Data *get(const Other &key) const {
        const auto *data = Base::get(key);
        return data ? &data->data : nullptr;
    }
};

} // namespace Ostrevan
