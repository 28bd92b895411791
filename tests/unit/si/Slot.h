#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace {

constexpr std::ptrdiff_t kDestructorSlots = 2;  // the complete and the deleting destructor

/// The slot of a virtual operation in the virtual table, read from a pointer to member of the
/// Itanium C++ ABI. That has the offset in the virtual table, and marks a virtual function in the
/// lowest bit of the offset or, on ARM, in the lowest bit of the adjustment.
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

/// An interface with one more operation. The slot of `Last` is the number of slots before it.
template <class Interface>
struct WithOneMore : Interface {
    virtual void Last() = 0;
};

}  // namespace
