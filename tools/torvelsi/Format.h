#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/Multiplex.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace tool {

using Json = nlohmann::ordered_json;

/// "1031 (0x0407)": how the text form shows identifiers of 16 bits.
std::string Id16(unsigned int value);

/// "66 (0x42)": the same for 8 bits.
std::string Id8(unsigned int value);

/// "66 (0x00000042)": the same for 32 bits.
std::string Id32(unsigned long value);

/// Bytes in lower-case hexadecimal, without blanks.
std::string Hex(const unsigned char* data, std::size_t size);

/// {"sync_losses": 0, ..., "packets": 6170, ...}: losses first, then in the platform's order.
Json CountersToJson(const std::vector<tvservice::CounterValue>& counters);

/// "2017-08-23T11:00:00Z" of seconds since 1970-01-01T00:00:00Z.
std::string Iso8601(std::int64_t seconds);

/// {"uri", "packet_size", "packets", "bytes"}.
Json InputToJson(const client::InputFacts& input);

/// The faults that were injected, by name in the platform's order.
Json FaultsToJson(const std::vector<tvservice::CounterValue>& faults);

/// The counters that are not 0, one a line, aligned, with what they mean.
std::string CountersToText(const std::vector<tvservice::CounterValue>& counters);

/// Makes text from a stream or a path safe for a terminal: control bytes become \xNN, and UTF-8
/// characters that control the terminal or cannot be seen (C1 controls, line separators, writing
/// directions, characters without width) become \uNNNN.
std::string Printable(const std::string& text);

/// A name from a stream in one line, made `Printable`; "(empty name)" when it is empty.
std::string Named(const std::string& name);

}  // namespace tool
