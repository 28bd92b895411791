#include "tools/torvelsi/Arguments.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "softplatform/service/SoftwarePlatform.h"

namespace tool {

namespace {

constexpr double kLongestTimeout = 2147483647;  // the timer counts signed milliseconds

[[noreturn]] void Refuse(const std::string& why) {
    throw std::invalid_argument(why);
}

}  // namespace

std::uint64_t ParseNumber(const std::string& text, std::uint64_t largest) {
    std::string_view digits = text;
    int base = 10;
    if (digits.substr(0, 2) == "0x" || digits.substr(0, 2) == "0X") {
        digits.remove_prefix(2);
        base = 16;
    }
    std::uint64_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (error == std::errc::invalid_argument || end != digits.data() + digits.size()) {
        Refuse(fmt::format("'{}' is not a number (decimal or 0x hexadecimal)", text));
    }
    if (error != std::errc() || value > largest) {
        Refuse(fmt::format("{} is out of range, 0 to {} (0x{:X})", text, largest, largest));
    }
    return value;
}

std::vector<unsigned char> ParseBytes(const std::string& text) {
    std::string digits;
    std::string_view rest = text;
    if (rest.substr(0, 2) == "0x" || rest.substr(0, 2) == "0X") {
        rest.remove_prefix(2);
    }
    for (const char c : rest) {
        if (c != ' ' && c != ':') {
            digits += c;
        }
    }
    std::vector<unsigned char> bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        unsigned char byte = 0;
        const char* const begin = digits.data() + at;
        const char* const last = digits.data() + std::min(at + 2, digits.size());
        const auto [end, error] = std::from_chars(begin, last, byte, 16);
        if (error != std::errc() || end != begin + 2) {
            Refuse(
                fmt::format("'{}' is not a list of bytes with two hexadecimal digits each", text));
        }
        bytes.push_back(byte);
    }
    if (bytes.empty()) {
        Refuse("expected at least one byte");
    }
    return bytes;
}

unsigned int ParseDuration(const std::string& text) {
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    const std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
    double factor = 0;
    if (unit.empty() || unit == "s") {
        factor = 1000;
    } else if (unit == "ms") {
        factor = 1;
    } else if (unit == "min") {
        factor = 60000;
    }
    if (error != std::errc() || factor == 0 || !std::isfinite(value) || value < 0) {
        Refuse(fmt::format("'{}' is not a duration (a number with ms, s or min)", text));
    }
    const double milliseconds = std::round(value * factor);
    if (milliseconds > kLongestTimeout) {
        Refuse(fmt::format("{} is too long; 2147483647ms (about 24 days) is the longest", text));
    }
    return static_cast<unsigned int>(milliseconds);
}

double ParsePace(const std::string& text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    // NaN is refused too: no comparison with it is true.
    if (error != std::errc() || end != text.data() + text.size() ||
        !(value >= tvservice::kMinPace && value <= tvservice::kMaxPace)) {
        Refuse(fmt::format("'{}' is not a number from {} to {:.0f}", text, tvservice::kMinPace,
                           tvservice::kMaxPace));
    }
    return value;
}

int ParseLogLevel(const std::string& text) {
    constexpr std::pair<const char*, int> kLevels[] = {
        {"debug", 3}, {"info", 4}, {"warning", 5}, {"error", 6}, {"off", 7}};
    for (const auto& [name, priority] : kLevels) {
        if (text == name) {
            return priority;
        }
    }
    Refuse(fmt::format("'{}' is not a log level (debug, info, warning, error, off)", text));
}

}  // namespace tool
