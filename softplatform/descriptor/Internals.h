#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/Export.h"
#include "softplatform/base/ByteView.h"

class TCBaseDesc;

// This platform's door to the private parts of the classes that platform/ declares: the nested
// Impl, whose definition the caller includes.
struct TVServiceInternals {
    template <class T>
    static typename T::Impl& Of(T& object) {
        return *object.m_impl;
    }

    // The Impl of T. By way of Of: Clang lets an alias of a private member be used by friends only.
    template <class T>
    using Impl = std::remove_reference_t<decltype(Of(std::declval<T&>()))>;

    // The same, null when the object has none.
    template <class T>
    static typename T::Impl* Get(T& object) {
        return object.m_impl.get();
    }

    // A new T over an Impl of these members.
    template <class T, class... Members>
    static std::unique_ptr<T> Make(Members&&... members) {
        using Impl = typename T::Impl;
        return std::unique_ptr<T>(
            new T(std::unique_ptr<Impl>(new Impl{std::forward<Members>(members)...})));
    }

    // A T at `place`, whose destructor never runs, over an Impl that outlives it.
    template <class T>
    static T* MakeAt(void* place, typename T::Impl& impl) {
        return ::new (place) T(std::unique_ptr<typename T::Impl>(&impl));
    }

    // Gives a descriptor, which has none, an Impl in its arena, and has its class decode the
    // payload.
    // @return what its Decode returned
    template <class T>
    static int DecodeIn(T& desc, typename T::Impl& impl) {
        desc.m_impl.reset(&impl);
        impl.fits = true;  // Decode reads its own fields
        const tvservice::ByteView payload = impl.bytes().Subview(2);
        const int consumed = desc.Decode(payload.data(), static_cast<int>(payload.size()));
        impl.fits = consumed >= 0;
        return consumed;
    }

    // What Tag() answers before the first Parse.
    static void SetTag(TCBaseDesc& desc, uint8_t tag);

    // See BaseDesc.h.
    static const std::vector<uint8_t>& TextOf(const TCBaseDesc& desc, size_t which,
                                              tvservice::ByteView text);
};
