// Arrays and callbacks on their way between the public and the core layer.
//
// Callbacks with the same signature in both layers need nothing from here: each Function takes the other as a functor,
// and an empty one stays empty. For signatures with handles a class sets a core function bound to a trampoline:
//
//     static bool main_callback(Kolm::Window *window, Function<bool(Window)> func) { return func(TS<Window>(window)); }
//     void Window::setMain(const Function<bool(Window)> &func) {
//         impl().ref().setMain(toCoreFunction<bool(Kolm::Window *)>(main_callback, func));
//     }

#pragma once

#include <core/OstrevanArray.h>
#include <core/OstrevanFunction.h>

#include "KolmArray.h"
#include "KolmFunction.h"
#include "OstrevanHandleKolm.h"

namespace Ostrevan {

/// Handles of the elements of a core array: const handles, or handles that may change them. The elements are core
/// objects or pointers to them; the array must outlive the handles.
template<class Public, class Core> Array<Public> copyConstArray(const Kolm::Array<Core> &array) {
    Array<Public> ret;
    ret.reserve(array.size());
    for(uint32_t i = 0; i < array.size(); i++) {
        if constexpr(std::is_pointer_v<Core>)
            ret.append(TS<Public>(static_cast<const std::remove_pointer_t<Core> *>(array[i])));
        else
            ret.append(TS<Public>(&array[i]));
    }
    return ret;
}
template<class Public, class Core> Array<Public> copyArray(const Kolm::Array<Core> &array) {
    Array<Public> ret;
    ret.reserve(array.size());
    for(uint32_t i = 0; i < array.size(); i++) {
        if constexpr(std::is_pointer_v<Core>)
            ret.append(TS<Public>(array[i]));
        else
            ret.append(TS<Public>(const_cast<Core *>(&array[i])));
    }
    return ret;
}

/// Core object of a handle, null for an empty one. Const handles give const objects only.
template<class CorePtr, class Public> CorePtr getCore(const Public &handle) {
    if constexpr(std::is_const_v<std::remove_pointer_t<CorePtr>>)
        return handle.impl().get();
    else
        return const_cast<Public &>(handle).impl().get();
}

/// Core objects of an array of handles. With \p unacquire they pass to the core layer, which deletes them from then on.
template<class CorePtr, class Public>
requires std::is_pointer_v<CorePtr> Kolm::Array<CorePtr> copyArray(const Array<Public> &array, bool unacquire = false) {
    Kolm::Array<CorePtr> ret;
    ret.reserve(array.size());
    for(uint32_t i = 0; i < array.size(); i++) {
        ret.append(getCore<CorePtr>(array[i]));
        if(unacquire) const_cast<Public &>(array[i]).impl().unacquire();
    }
    return ret;
}

/// The same into an array of fixed size. Slots behind the last element stay as they are. Returns the number of elements.
template<class CorePtr, class Public, uint32_t Size>
uint32_t copyArray(CorePtr (&dest)[Size], const Array<Public> &array) {
    KOLM_ASSERT(array.size() <= Size && "copyArray(): invalid array size");
    for(uint32_t i = 0; i < array.size(); i++) dest[i] = getCore<CorePtr>(array[i]);
    return array.size();
}
template<class CorePtr, class Public, uint32_t Size>
uint32_t copyList(CorePtr (&dest)[Size], const std::initializer_list<Public> &list) {
    KOLM_ASSERT(list.size() <= Size && "copyList(): invalid array size");
    uint32_t num = 0;
    for(const Public &handle : list) dest[num++] = getCore<CorePtr>(handle);
    return num;
}

/// Function for the core layer: \p trampoline with the user's function bound behind its arguments. Empty if the user's
/// function is empty, so that the core's test for a callback stays true to it.
template<class Signature, class Trampoline, class UserSignature>
Kolm::Function<Signature> toCoreFunction(Trampoline trampoline, const Function<UserSignature> &func) {
    if(func.empty()) return Kolm::Function<Signature>();
    return Kolm::Function<Signature>(trampoline, func);
}
/// The inverse, for getters.
template<class Signature, class Trampoline, class CoreSignature>
Function<Signature> toPublicFunction(Trampoline trampoline, const Kolm::Function<CoreSignature> &func) {
    if(func.empty()) return Function<Signature>();
    return Function<Signature>(trampoline, func);
}

} // namespace Ostrevan
