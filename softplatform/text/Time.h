// Conversion of the times and durations of service information: a Modified Julian Date and binary
// coded decimal digits (ETSI EN 300 468 annex C and 5.2.4). Seconds are UTC seconds without leap
// seconds. All functions may be called on any thread.
#pragma once

#include <cstdint>
#include <optional>

namespace tvservice {

// The 40-bit UTC_time or start_time that means "undefined": all bits are 1.
constexpr std::uint64_t kUndefinedTime = 0xFFFFFFFFFFu;

// The longest duration that can be coded: 99:59:59.
constexpr std::uint32_t kLongestDuration = 99 * 3600 + 59 * 60 + 59;

// Converts a 40-bit field (16 bits of Modified Julian Date, then hours, minutes and seconds of two
// digits each) to seconds since 1970-01-01T00:00:00Z, negative before. Nothing when the time is
// undefined, a digit is above nine, minutes or seconds are above 59, hours are above 23, or `coded`
// has more than 40 bits.
std::optional<std::int64_t> DecodeTime(std::uint64_t coded);

// The inverse: a 40-bit field. Nothing when the day does not fit the 16-bit Modified Julian Date
// (1858-11-17 to 2038-04-22).
std::optional<std::uint64_t> EncodeTime(std::int64_t secondsSince1970);

// Converts a 24-bit duration (hours from 00 to 99, minutes and seconds of two digits each) to
// seconds. Nothing when a digit is above nine, minutes or seconds are above 59, or `coded` has more
// than 24 bits.
std::optional<std::uint32_t> DecodeDuration(std::uint32_t coded);

// The inverse: a 24-bit field. Nothing when `seconds` is above kLongestDuration.
std::optional<std::uint32_t> EncodeDuration(std::uint32_t seconds);

}  // namespace tvservice
