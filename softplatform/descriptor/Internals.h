#pragma once

#include <memory>
#include <utility>

#include "platform/Export.h"

// This platform's door to the private parts of the classes that platform/ declares: the nested
// Impl, whose definition the caller includes.
struct TVServiceInternals {
    template <class T>
    static typename T::Impl& Of(T& object) {
        return *object.m_impl;
    }

    // A new T over an Impl of these members.
    template <class T, class... Members>
    static std::unique_ptr<T> Make(Members&&... members) {
        using Impl = typename T::Impl;
        return std::unique_ptr<T>(
            new T(std::unique_ptr<Impl>(new Impl{std::forward<Members>(members)...})));
    }
};
