#pragma once

#include "platform/Export.h"

// This platform's door to the private parts of the classes that platform/ declares: the nested
// Impl, whose definition the caller includes.
struct TVServiceInternals {
    template <class T>
    static typename T::Impl& Of(T& object) {
        return *object.m_impl;
    }
};
