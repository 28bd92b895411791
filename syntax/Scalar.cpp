#include "syntax/Scalar.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "softplatform/text/Time.h"
#include "syntax/Hex.h"

namespace syntax {

namespace {

// --- Decimal digits

bool FromBcd(std::uint64_t coded, unsigned bits, std::uint64_t& number) {
    number = 0;
    for (unsigned shift = bits; shift >= 4; shift -= 4) {
        const std::uint64_t digit = coded >> (shift - 4) & 15;
        if (digit > 9) {
            return false;
        }
        number = number * 10 + digit;
    }
    return true;
}

bool ToBcd(std::uint64_t number, unsigned bits, std::uint64_t& coded) {
    coded = 0;
    for (unsigned shift = 0; shift < bits; shift += 4) {
        coded |= number % 10 << shift;
        number /= 10;
    }
    return number == 0;
}

// --- Times and dates as text: "2026-11-22T20:00:00Z"

void PutNumber(std::uint64_t number, unsigned digits, std::string& out) {
    char text[20];
    for (unsigned i = digits; i > 0; --i) {
        text[i - 1] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    out.append(text, digits);
}

// Reads `text`, which must have digits where `pattern` has '0' and equal it elsewhere. Each run of
// digits gives one number.
bool TakeNumbers(std::string_view text, std::string_view pattern, std::span<unsigned> numbers) {
    if (text.size() != pattern.size()) {
        return false;
    }
    std::size_t number = 0;
    bool inside = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (pattern[at] != '0') {
            if (text[at] != pattern[at]) {
                return false;
            }
            number += inside ? 1 : 0;
            inside = false;
            continue;
        }
        if (text[at] < '0' || text[at] > '9') {
            return false;
        }
        numbers[number] =
            (inside ? numbers[number] * 10 : 0) + static_cast<unsigned>(text[at] - '0');
        inside = true;
    }
    return true;
}

// The number of days from 1970-01-01 to a Gregorian date; PutDate is the inverse.
std::int64_t DaysOf(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = year / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

void PutDate(std::int64_t days, std::string& out) {
    days += 719468;
    const std::int64_t era = days / 146097;
    const auto dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned shifted = (5 * dayOfYear + 2) / 153;
    const unsigned month = shifted < 10 ? shifted + 3 : shifted - 9;
    PutNumber(static_cast<std::uint64_t>(era * 400 + yearOfEra + (month <= 2 ? 1 : 0)), 4, out);
    out += '-';
    PutNumber(month, 2, out);
    out += '-';
    PutNumber(dayOfYear - (153 * shifted + 2) / 5 + 1, 2, out);
}

constexpr std::int64_t kMjdOf1970 = 40587;
constexpr std::int64_t kSecondsADay = 86400;

void ShowTime(std::uint64_t coded, Scalar& scalar) {
    if (coded == tvservice::kUndefinedTime) {
        scalar.type = Scalar::Type::kNull;
        return;
    }
    const std::optional<std::int64_t> seconds = tvservice::DecodeTime(coded);
    if (!seconds) {
        for (int shift = 36; shift >= 0; shift -= 4) {
            scalar.text += kHexDigits[coded >> shift & 15];
        }
        return;
    }
    // The seconds since 1970 may be negative; those since the first Modified Julian Date (1858) are
    // not.
    const std::int64_t sinceMjd = *seconds + kMjdOf1970 * kSecondsADay;
    PutDate(sinceMjd / kSecondsADay - kMjdOf1970, scalar.text);
    const auto ofDay = static_cast<std::uint64_t>(sinceMjd % kSecondsADay);
    scalar.text += 'T';
    PutNumber(ofDay / 3600, 2, scalar.text);
    scalar.text += ':';
    PutNumber(ofDay / 60 % 60, 2, scalar.text);
    scalar.text += ':';
    PutNumber(ofDay % 60, 2, scalar.text);
    scalar.text += 'Z';
}

bool CodeTime(std::string_view text, std::uint64_t& coded) {
    std::array<unsigned, 6> numbers{};
    if (!TakeNumbers(text, "0000-00-00T00:00:00Z", numbers)) {
        return false;
    }
    const auto [year, month, day, hour, minute, second] = numbers;
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 59) {
        return false;
    }
    const std::optional<std::uint64_t> time = tvservice::EncodeTime(
        DaysOf(year, month, day) * kSecondsADay + hour * 3600 + minute * 60 + second);
    coded = time.value_or(0);
    return time.has_value();
}

bool CodeDate(std::string_view text, std::uint64_t& coded) {
    std::array<unsigned, 3> numbers{};
    if (!TakeNumbers(text, "0000-00-00", numbers) || numbers[1] < 1 || numbers[1] > 12 ||
        numbers[2] < 1 || numbers[2] > 31) {
        return false;
    }
    const std::int64_t mjd = DaysOf(numbers[0], numbers[1], numbers[2]) + kMjdOf1970;
    coded = static_cast<std::uint64_t>(mjd);
    return mjd >= 0 && mjd <= 0xFFFF;
}

// Whether a programme label (EN 300 231) is a valid day, month, hour and minute. Other values are
// service codes.
bool IsLabelTime(std::uint64_t coded) {
    const std::uint64_t day = coded >> 15 & 31;
    const std::uint64_t month = coded >> 11 & 15;
    return day >= 1 && month >= 1 && month <= 12 && (coded >> 6 & 31) < 24 && (coded & 63) < 60;
}

void PutFixedHex(std::uint64_t coded, unsigned bits, std::string& out) {
    for (unsigned shift = bits; shift >= 4; shift -= 4) {
        out += kHexDigits[coded >> (shift - 4) & 15];
    }
}

bool TakeFixedHex(std::string_view text, unsigned bits, std::uint64_t& coded) {
    if (text.size() != bits / 4) {
        return false;
    }
    coded = 0;
    for (const char c : text) {
        const int digit = HexDigit(c);
        if (digit < 0) {
            return false;
        }
        coded = coded << 4 | static_cast<unsigned>(digit);
    }
    return true;
}

void ShowNumber(const Op& op, std::uint64_t coded, Scalar& scalar) {
    using Type = Scalar::Type;
    scalar.type = Type::kUnsigned;
    scalar.number = coded;
    switch (op.kind) {
        case OpKind::kFlag:
            scalar.type = Type::kBoolean;
            return;
        case OpKind::kSigned:
            if ((coded >> (op.bits - 1) & 1) != 0) {
                scalar.type = Type::kNegative;
                scalar.number = coded | ~AllOnes(op.bits);
            }
            return;
        case OpKind::kScaled:
            scalar.number = coded * op.scale;
            return;
        case OpKind::kBcd: {
            std::uint64_t number = 0;
            if (!FromBcd(coded, op.bits, number)) {
                break;
            }
            if (op.divisor == 1) {
                scalar.number = number * op.scale;
                return;
            }
            scalar.type = Type::kReal;
            scalar.real = static_cast<double>(number) / op.divisor;
            return;
        }
        case OpKind::kTime:
            scalar.type = Type::kString;
            return ShowTime(coded, scalar);
        case OpKind::kDate:
            scalar.type = Type::kString;
            return PutDate(static_cast<std::int64_t>(coded) - kMjdOf1970, scalar.text);
        case OpKind::kDuration:
            if (coded == 0xFFFFFF) {
                scalar.type = Type::kNull;
                return;
            }
            if (const auto seconds = tvservice::DecodeDuration(static_cast<std::uint32_t>(coded))) {
                scalar.number = *seconds;
                return;
            }
            break;
        case OpKind::kOffset: {
            std::uint64_t number = 0;
            if (!FromBcd(coded, 16, number) || number % 100 > 59) {
                break;
            }
            scalar.type = Type::kString;
            PutNumber(number / 100, 2, scalar.text);
            scalar.text += ':';
            PutNumber(number % 100, 2, scalar.text);
            return;
        }
        case OpKind::kLabel:
            if (!IsLabelTime(coded)) {
                return;
            }
            scalar.type = Type::kString;
            PutNumber(coded >> 11 & 15, 2, scalar.text);
            scalar.text += '-';
            PutNumber(coded >> 15 & 31, 2, scalar.text);
            scalar.text += 'T';
            PutNumber(coded >> 6 & 31, 2, scalar.text);
            scalar.text += ':';
            PutNumber(coded & 63, 2, scalar.text);
            return;
        default:
            return;
    }
    scalar.type = Type::kString;
    PutFixedHex(coded, op.bits, scalar.text);
}

// --- Bytes

void ShowBytes(const Op* op, ByteView bytes, const TextRules& rules, std::string& out) {
    switch (op == nullptr ? OpKind::kBytes : op->kind) {
        case OpKind::kText:
            return DecodeText(bytes, rules, out);
        case OpKind::kUtf8: {
            const std::string_view chars(reinterpret_cast<const char*>(bytes.data()), bytes.size());
            if (IsValidUtf8(chars)) {
                out += chars;
                return;
            }
            break;
        }
        case OpKind::kLatin:
            break;
        case OpKind::kIpv4:
        case OpKind::kIpv6: {
            char text[INET6_ADDRSTRLEN];
            out += inet_ntop(op->kind == OpKind::kIpv4 ? AF_INET : AF_INET6, bytes.data(), text,
                             sizeof text);
            return;
        }
        case OpKind::kMac:
            for (std::size_t at = 0; at < bytes.size(); ++at) {
                if (at != 0) {
                    out += ':';
                }
                AppendHex(bytes.Subview(at, 1), out);
            }
            return;
        default:
            return AppendHex(bytes, out);
    }
    for (const std::uint8_t c : bytes) {
        if (c >= 0x80) {
            out += static_cast<char>(0xC0 | c >> 6);
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(c);
        }
    }
}

bool CodeLatin(std::string_view text, std::vector<std::uint8_t>& bytes) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto c = static_cast<std::uint8_t>(text[at]);
        if (c < 0x80) {
            bytes.push_back(c);
        } else if ((c == 0xC2 || c == 0xC3) && at + 1 < text.size()) {
            const auto next = static_cast<std::uint8_t>(text[++at]);
            bytes.push_back(static_cast<std::uint8_t>(c << 6 | (next & 0x3F)));
        } else {
            return false;
        }
    }
    return true;
}

bool CodeMac(std::string_view text, std::vector<std::uint8_t>& bytes) {
    std::string digits;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (at % 3 != 2) {
            digits += text[at];
        } else if (text[at] != ':' && text[at] != '-') {
            return false;
        }
    }
    return text.size() == 17 && ParseHex(digits, bytes);
}

bool IsWhole(double real) {
    return std::isfinite(real) && real >= 0 && real < 1.8e19 && real == std::floor(real);
}

// Reads a number of a document; false unless it is whole and not negative.
bool WholeNumber(const Node& node, std::uint64_t& number) {
    if (node.type == NodeType::kNumber || node.type == NodeType::kBoolean) {
        number = node.number;
        return true;
    }
    if (node.type == NodeType::kReal && IsWhole(node.real)) {
        number = static_cast<std::uint64_t>(node.real);
        return true;
    }
    return false;
}

bool CodeBcd(const Op& op, const Node& node, std::uint64_t& coded, std::string& expected) {
    std::uint64_t number = 0;
    if (op.divisor != 1) {
        const double real =
            node.type == NodeType::kReal ? node.real : static_cast<double>(node.number);
        const double scaled = real * op.divisor;
        if ((node.type != NodeType::kReal && node.type != NodeType::kNumber) ||
            std::abs(scaled - std::round(scaled)) > 1e-6 || !IsWhole(std::round(scaled))) {
            expected = "a multiple of 1/" + std::to_string(op.divisor);
            return false;
        }
        number = static_cast<std::uint64_t>(std::round(scaled));
    } else if (!WholeNumber(node, number) || number % op.scale != 0) {
        expected = op.scale == 1 ? "a number" : "a multiple of " + std::to_string(op.scale);
        return false;
    } else {
        number /= op.scale;
    }
    if (!ToBcd(number, op.bits, coded)) {
        expected = "at most " + std::to_string(op.bits / 4) + " BCD digits";
        if (op.scale != 1) {
            expected += " of " + std::to_string(op.scale);
        }
        return false;
    }
    return true;
}

}  // namespace

bool IsCodedAsBytes(OpKind kind) {
    return kind >= OpKind::kLatin && kind <= OpKind::kBytes;
}

void ReadScalar(const Node& node, const TextRules& rules, Scalar& scalar) {
    using Type = Scalar::Type;
    scalar.text.clear();
    switch (node.type) {
        case NodeType::kBoolean:
            scalar.type = Type::kBoolean;
            scalar.number = node.number;
            return;
        case NodeType::kNumber:
            if (node.op != nullptr) {
                return ShowNumber(*node.op, node.number, scalar);
            }
            scalar.type = Type::kUnsigned;
            scalar.number = node.number;
            return;
        case NodeType::kNegative:
            scalar.type = Type::kNegative;
            scalar.number = node.number;
            return;
        case NodeType::kReal:
            scalar.type = Type::kReal;
            scalar.real = node.real;
            return;
        case NodeType::kString:
            scalar.type = Type::kString;
            scalar.text = node.Chars();
            return;
        case NodeType::kBytes:
            scalar.type = Type::kString;
            ShowBytes(node.op, node.View(), rules, scalar.text);
            return;
        default:
            scalar.type = Type::kNull;
            return;
    }
}

bool CodeNumber(const Op& op, const Node& node, std::uint64_t& coded, std::string& expected) {
    if (node.op != nullptr && node.type == NodeType::kNumber) {
        coded = node.number;
        return true;
    }
    const std::string_view text =
        node.type == NodeType::kString ? node.Chars() : std::string_view();
    switch (op.kind) {
        case OpKind::kFlag:
            expected = "true or false";
            return WholeNumber(node, coded) && coded <= 1;
        case OpKind::kBcd:
            return TakeFixedHex(text, op.bits, coded) || CodeBcd(op, node, coded, expected);
        case OpKind::kTime:
            expected = "a time as 2026-11-22T20:00:00Z (1858-11-17 to 2038-04-22), or null";
            coded = tvservice::kUndefinedTime;
            return node.type == NodeType::kNull || CodeTime(text, coded) ||
                   TakeFixedHex(text, op.bits, coded);
        case OpKind::kDate:
            expected = "a date as 2026-11-22 (1858-11-17 to 2038-04-22)";
            return CodeDate(text, coded);
        case OpKind::kDuration: {
            expected = "seconds up to 359999, or null";
            coded = 0xFFFFFF;
            if (node.type == NodeType::kNull || TakeFixedHex(text, op.bits, coded)) {
                return true;
            }
            std::uint64_t seconds = 0;
            if (!WholeNumber(node, seconds) || seconds > tvservice::kLongestDuration) {
                return false;
            }
            coded = *tvservice::EncodeDuration(static_cast<std::uint32_t>(seconds));
            return true;
        }
        case OpKind::kOffset: {
            expected = "hours and minutes as 02:00";
            std::array<unsigned, 2> numbers{};
            if (TakeFixedHex(text, op.bits, coded)) {
                return true;
            }
            return TakeNumbers(text, "00:00", numbers) && numbers[1] < 60 &&
                   ToBcd(numbers[0] * 100 + numbers[1], 16, coded);
        }
        case OpKind::kLabel: {
            expected = "a month, day and time as 11-22T20:00, or a number of 20 bits";
            std::array<unsigned, 4> numbers{};
            if (TakeNumbers(text, "00-00T00:00", numbers)) {
                const auto [month, day, hour, minute] = numbers;
                coded = std::uint64_t{day & 31} << 15 | (month & 15) << 11 | (hour & 31) << 6 |
                        (minute & 63);
                return day < 32 && month < 16 && hour < 32 && minute < 64 && IsLabelTime(coded);
            }
            return WholeNumber(node, coded) && coded <= AllOnes(op.bits);
        }
        case OpKind::kSigned: {
            const auto least = std::uint64_t{1} << (op.bits - 1);
            expected = "a number of " + std::to_string(op.bits) + " bits with its sign";
            if (node.type == NodeType::kNegative) {
                coded = node.number & AllOnes(op.bits);
                return ~node.number < least;
            }
            return WholeNumber(node, coded) && coded < least;
        }
        case OpKind::kScaled:
            expected = "a multiple of " + std::to_string(op.scale) + " up to " +
                       std::to_string(AllOnes(op.bits) * op.scale);
            if (!WholeNumber(node, coded) || coded % op.scale != 0) {
                return false;
            }
            coded /= op.scale;
            return coded <= AllOnes(op.bits);
        default:
            expected = "a number up to " + std::to_string(AllOnes(op.bits));
            return WholeNumber(node, coded) && coded <= AllOnes(op.bits);
    }
}

bool CodeBytes(const Op& op, const Node& node, std::string_view table, const TextRules& rules,
               std::vector<std::uint8_t>& bytes, std::string& expected) {
    if (node.type == NodeType::kBytes) {
        const ByteView view = node.View();
        bytes.insert(bytes.end(), view.begin(), view.end());
        return true;
    }
    expected = "a string";
    if (node.type != NodeType::kString) {
        return false;
    }
    const std::string_view text = node.Chars();
    const std::size_t begin = bytes.size();
    switch (op.kind) {
        case OpKind::kText:
            expected = table.empty() ? "characters of the default table (" +
                                           std::string(rules.defaultTable) + ")"
                                     : "a table, and characters that it has";
            return EncodeText(text, table, rules, bytes);
        case OpKind::kUtf8:
            bytes.insert(bytes.end(), text.begin(), text.end());
            return true;
        case OpKind::kLatin:
            expected = std::to_string(op.bits / 8) + " characters of ISO/IEC 8859-1";
            return CodeLatin(text, bytes) && bytes.size() - begin == op.bits / 8u;
        case OpKind::kIpv4:
        case OpKind::kIpv6: {
            expected = op.kind == OpKind::kIpv4 ? "an IPv4 address" : "an IPv6 address";
            std::uint8_t address[16];
            if (inet_pton(op.kind == OpKind::kIpv4 ? AF_INET : AF_INET6, std::string(text).c_str(),
                          address) != 1) {
                return false;
            }
            bytes.insert(bytes.end(), address, address + op.bits / 8);
            return true;
        }
        case OpKind::kMac:
            expected = "a MAC address as 00:11:22:33:44:55";
            return CodeMac(text, bytes);
        default:
            expected = "bytes in hexadecimal";
            return ParseHex(text, bytes);
    }
}

std::string TextTableName(std::string_view field) {
    constexpr std::string_view kText = "text";
    std::string name(field);
    if (field.size() < kText.size() || field.substr(field.size() - kText.size()) != kText) {
        name += "_text";
    }
    return name + "_table";
}

std::string_view Words(const Op& op, const Node& object, std::uint64_t coded) {
    if (op.values.empty()) {
        return {};
    }
    std::uint64_t key = 0;
    for (const std::string_view by : op.by) {
        if (by.empty()) {
            break;
        }
        const Node* other = object.Find(by);
        if (other == nullptr) {
            return {};
        }
        key = key << 8 | other->number;
    }
    key = op.by[0].empty() ? coded : key << 8 | coded;
    const auto after =
        std::upper_bound(op.values.begin(), op.values.end(), key,
                         [](std::uint64_t value, const Value& entry) { return value < entry.low; });
    if (after == op.values.begin() || std::prev(after)->high < key) {
        return {};
    }
    return std::prev(after)->words;
}

}  // namespace syntax
