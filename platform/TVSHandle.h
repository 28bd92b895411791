#pragma once

/// Access handle of the SI service library. The constructor of every parser takes one.
///
/// The SI layer always passes (1, 0). The handle is a temporary: a platform that needs it later
/// copies it in that constructor. Each platform decides what the two values mean.
struct TVSHandle {
    int m_access;
    int m_instance;

    constexpr TVSHandle(int access, int instance) : m_access(access), m_instance(instance) {}
};
