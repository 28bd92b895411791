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

// Access to the private Impl of the classes that platform/ declares. They name this struct as their
// friend. The caller includes the definition of the Impl.
struct TVServiceInternals {
    template <class T>
    static typename T::Impl& Of(T& object) {
        return *object.m_impl;
    }

    // The type of T's Impl. It is taken from Of, because Clang rejects an alias of the private
    // T::Impl outside this struct.
    template <class T>
    using Impl = std::remove_reference_t<decltype(Of(std::declval<T&>()))>;

    // The object's Impl; null when it has none.
    template <class T>
    static typename T::Impl* Get(T& object) {
        return object.m_impl.get();
    }

    // A new T with a new Impl, which is initialised with `members`.
    template <class T, class... Members>
    static std::unique_ptr<T> Make(Members&&... members) {
        using Impl = typename T::Impl;
        return std::unique_ptr<T>(
            new T(std::unique_ptr<Impl>(new Impl{std::forward<Members>(members)...})));
    }

    // Makes a T at `place` with an Impl that the caller keeps. The destructor of that T must never
    // run: it would delete the Impl.
    template <class T>
    static T* MakeAt(void* place, typename T::Impl& impl) {
        return ::new (place) T(std::unique_ptr<typename T::Impl>(&impl));
    }

    // Gives `desc`, which has no Impl yet, the one in the arena, and calls its Decode.
    // @return what Decode returned
    template <class T>
    static int DecodeIn(T& desc, typename T::Impl& impl) {
        desc.m_impl.reset(&impl);
        impl.fits = true;  // so that Decode can read fields
        const tvservice::ByteView payload = impl.bytes().Subview(2);
        const int consumed = desc.Decode(payload.data(), static_cast<int>(payload.size()));
        impl.fits = consumed >= 0;
        return consumed;
    }

    // Sets what Tag() returns before the first Parse.
    static void SetTag(TCBaseDesc& desc, uint8_t tag);

    // tvservice::TextOf of BaseDesc.h.
    static const std::vector<uint8_t>& TextOf(const TCBaseDesc& desc, size_t which,
                                              tvservice::ByteView text);
};
