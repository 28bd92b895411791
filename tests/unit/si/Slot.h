#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace {

constexpr std::ptrdiff_t kDestructorSlots = 2;  // complete and deleting

/// The slot of a virtual operation, from the Itanium C++ ABI's pointer to member: the offset in the
/// virtual table, with the mark of a virtual function in its lowest bit or, on ARM, in that of the
/// adjustment.
template <class Member>
inline std::ptrdiff_t Slot(Member member) {
    struct {
        std::ptrdiff_t pointer;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof(parts) == sizeof(member));
    std::memcpy(&parts, &member, sizeof(parts));
#if defined(__arm__) || defined(__aarch64__)
    EXPECT_EQ(parts.adjustment & 1, 1);
    return parts.pointer / static_cast<std::ptrdiff_t>(sizeof(void*));
#else
    EXPECT_EQ(parts.pointer & 1, 1);
    return (parts.pointer - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
#endif
}

/// An interface with one operation more, whose slot tells how many there were before.
template <class Interface>
struct WithOneMore : Interface {
    virtual void Last() = 0;
};

}  // namespace
