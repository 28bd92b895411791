#pragma once

// Gives the fake platform access to the private parts of the classes that platform/ declares.

#include <memory>
#include <utility>

#include "platform/Export.h"

struct TVServiceInternals {
    template <class T>
    static typename T::Impl& Of(T& object) {
        return *object.m_impl;
    }
    template <class T>
    static typename T::Impl& Of(const T& object) {
        return *object.m_impl;
    }
    template <class T, class... Members>
    static std::unique_ptr<T> Make(Members&&... members) {
        using Impl = typename T::Impl;
        return std::unique_ptr<T>(
            new T(std::unique_ptr<Impl>(new Impl{std::forward<Members>(members)...})));
    }
};
