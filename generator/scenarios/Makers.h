// The receiver makers for which the scenarios offer software updates.
#pragma once

#include <cstdint>

namespace generator {

// The OUI that TS 102 006 reserves for any maker, and two that no maker has (locally administered).
constexpr std::uint32_t kAnyMaker = 0x00015A;
constexpr std::uint32_t kFirstMaker = 0x02A1B2;
constexpr std::uint32_t kSecondMaker = 0x0613C4;

}  // namespace generator
