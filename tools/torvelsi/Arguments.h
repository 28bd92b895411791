#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// Functions that read the text of an argument. Each throws `std::invalid_argument` when it cannot
/// read the text; `what()` is then the error to show to the user.

/// A whole number, decimal or 0x hexadecimal, 0 to `largest`.
std::uint64_t ParseNumber(const std::string& text, std::uint64_t largest);

/// One or more bytes in hexadecimal, two digits each: "4E 00 00 04:07". Blanks, colons and a
/// leading 0x are allowed.
std::vector<unsigned char> ParseBytes(const std::string& text);

/// A duration: a number with ms, s or min; a bare number is seconds. Fractions are allowed.
/// @return milliseconds, 0 to 2147483647
unsigned int ParseDuration(const std::string& text);

/// The speed at which an input is played, as a multiple of real time. Fractions and exponents are
/// allowed.
/// @return `tvservice::kMinPace` to `tvservice::kMaxPace`
double ParsePace(const std::string& text);

/// A log level's name: debug, info, warning, error or off.
/// @return the lowest priority that is written, as `tvservice::SetLogPriority` takes it
int ParseLogLevel(const std::string& text);

}  // namespace tool
