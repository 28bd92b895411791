#pragma once

/// Access handle of the SI service library: what every parser is built with.
///
/// The SI layer always passes (1, 0), as a temporary; a platform that needs more of it copies it
/// during the constructor that it was given to. What the two values mean is the platform's own.
struct TVSHandle {
    int m_access;
    int m_instance;

    constexpr TVSHandle(int access, int instance) : m_access(access), m_instance(instance) {}
};
