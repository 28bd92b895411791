#include "softplatform/text/Time.h"

namespace tvservice {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kMjdOf1970 = 40587;

std::optional<std::uint32_t> DecodeTwoDigits(std::uint32_t coded) {
    const std::uint32_t tens = coded >> 4;
    const std::uint32_t units = coded & 0x0F;
    if (tens > 9 || units > 9) {
        return std::nullopt;
    }
    return tens * 10 + units;
}

std::uint32_t EncodeTwoDigits(std::uint32_t value) {
    return (value / 10) << 4 | value % 10;
}

}  // namespace

std::optional<std::int64_t> DecodeTime(std::uint64_t coded) {
    if (coded > kUndefinedTime) {
        return std::nullopt;
    }
    // The undefined time (all ones) needs no check: its digits are above nine.
    const auto secondOfDay = DecodeDuration(static_cast<std::uint32_t>(coded & 0xFFFFFF));
    if (!secondOfDay || *secondOfDay >= kSecondsPerDay) {
        return std::nullopt;
    }
    const auto mjd = static_cast<std::int64_t>(coded >> 24);
    return (mjd - kMjdOf1970) * kSecondsPerDay + *secondOfDay;
}

std::optional<std::uint64_t> EncodeTime(std::int64_t secondsSince1970) {
    std::int64_t day = secondsSince1970 / kSecondsPerDay;
    std::int64_t secondOfDay = secondsSince1970 % kSecondsPerDay;
    if (secondOfDay < 0) {
        secondOfDay += kSecondsPerDay;
        --day;
    }
    if (day < -kMjdOf1970 || day > 0xFFFF - kMjdOf1970) {
        return std::nullopt;
    }
    const auto digits = EncodeDuration(static_cast<std::uint32_t>(secondOfDay));
    return static_cast<std::uint64_t>(day + kMjdOf1970) << 24 | *digits;
}

std::optional<std::uint32_t> DecodeDuration(std::uint32_t coded) {
    if (coded > 0xFFFFFF) {
        return std::nullopt;
    }
    const auto hours = DecodeTwoDigits(coded >> 16);
    const auto minutes = DecodeTwoDigits(coded >> 8 & 0xFF);
    const auto seconds = DecodeTwoDigits(coded & 0xFF);
    if (!hours || !minutes || !seconds || *minutes > 59 || *seconds > 59) {
        return std::nullopt;
    }
    return *hours * 3600 + *minutes * 60 + *seconds;
}

std::optional<std::uint32_t> EncodeDuration(std::uint32_t seconds) {
    if (seconds > kLongestDuration) {
        return std::nullopt;
    }
    return EncodeTwoDigits(seconds / 3600) << 16 | EncodeTwoDigits(seconds / 60 % 60) << 8 |
           EncodeTwoDigits(seconds % 60);
}

}  // namespace tvservice
