#include "tools/torvelsi/Format.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <iterator>
#include <utility>

namespace tool {

namespace {

/// The bytes of one UTF-8 character.
struct Sequence {
    std::size_t size;
    char32_t codePoint;
};

/// The sequence of two or three bytes that starts at `at`. Any other byte counts as a sequence of
/// one byte with code point 0.
Sequence SequenceAt(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
    };
    const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    if ((byte(0) & 0xE0) == 0xC0 && follows(1)) {
        return {2, (byte(0) & 0x1F) << 6 | (byte(1) & 0x3F)};
    }
    if ((byte(0) & 0xF0) == 0xE0 && follows(1) && follows(2)) {
        return {3, (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F)};
    }
    return {1, 0};
}

/// Whether a terminal may act on a character instead of showing it: C1 controls, line separators,
/// changes of the writing direction, and characters without width.
bool IsForControl(char32_t codePoint) {
    constexpr std::pair<char32_t, char32_t> kRanges[] = {{0x80, 0x9F},     {0x61C, 0x61C},
                                                         {0x200B, 0x200F}, {0x2028, 0x202E},
                                                         {0x2060, 0x206F}, {0xFEFF, 0xFEFF}};
    return std::any_of(std::begin(kRanges), std::end(kRanges), [&](const auto& range) {
        return range.first <= codePoint && codePoint <= range.second;
    });
}

}  // namespace

std::string Id16(unsigned int value) {
    return fmt::format("{} (0x{:04X})", value, value);
}

std::string Id8(unsigned int value) {
    return fmt::format("{} (0x{:02X})", value, value);
}

std::string Id32(unsigned long value) {
    return fmt::format("{} (0x{:08X})", value, value);
}

std::string Hex(const unsigned char* data, std::size_t size) {
    return fmt::format("{:02x}", fmt::join(data, data + size, ""));
}

Json CountersToJson(const std::vector<tvservice::CounterValue>& counters) {
    // Losses first, then the rest in the platform's order.
    constexpr const char* kFirst[] = {
        "sync_losses",       "continuity_gaps", "duplicate_packets",  "transport_errors",
        "scrambled_packets", "crc_errors",      "truncated_sections", "oversize_sections"};
    Json json = Json::object();
    for (const char* const name : kFirst) {
        json[name] = 0;
    }
    for (const tvservice::CounterValue& counter : counters) {
        json[counter.name] = counter.value;
    }
    return json;
}

Json FaultsToJson(const std::vector<tvservice::CounterValue>& faults) {
    Json json = Json::object();
    for (const tvservice::CounterValue& fault : faults) {
        json[fault.name] = fault.value;
    }
    return json;
}

std::string Iso8601(std::int64_t seconds) {
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(static_cast<std::time_t>(seconds)));
}

Json InputToJson(const client::InputFacts& input) {
    return {{"uri", input.uri},
            {"packet_size", input.packetSize},
            {"packets", input.packets},
            {"bytes", input.bytes}};
}

std::string CountersToText(const std::vector<tvservice::CounterValue>& counters) {
    std::string text;
    for (const tvservice::CounterValue& counter : counters) {
        if (counter.value != 0) {
            text +=
                fmt::format("  {:<26}{:>12}  {}\n", counter.name, counter.value, counter.meaning);
        }
    }
    return text;
}

std::string Named(const std::string& name) {
    if (name.empty()) {
        return "(empty name)";
    }
    std::string line = name;
    std::replace(line.begin(), line.end(), '\n', ' ');
    return Printable(line);
}

std::string Printable(const std::string& text) {
    std::string printable;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const Sequence sequence = SequenceAt(text, at);
        if (byte < 0x20 || byte == 0x7F) {
            printable += fmt::format("\\x{:02X}", byte);
        } else if (IsForControl(sequence.codePoint)) {
            printable += fmt::format("\\u{:04X}", static_cast<unsigned int>(sequence.codePoint));
            at += sequence.size - 1;
        } else {
            printable += text[at];
        }
    }
    return printable;
}

}  // namespace tool
