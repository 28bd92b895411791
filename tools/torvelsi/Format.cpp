#include "tools/torvelsi/Format.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>

namespace tool {

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
    return name.empty() ? "(empty name)" : Printable(name);
}

std::string Printable(const std::string& text) {
    std::string printable;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) {
            printable += fmt::format("\\x{:02X}", byte);
        } else {
            printable += c;
        }
    }
    return printable;
}

}  // namespace tool
