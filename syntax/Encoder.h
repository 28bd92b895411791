// Encodes trees of values into sections and descriptors.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "syntax/Decoder.h"

namespace syntax {

// Why a tree cannot be encoded.
struct EncodeError {
    std::string path;      // "transport_streams[0].descriptors[2].frequency_hz"
    std::string expected;  // "11700000001 is not a multiple of 10000"
};

// Both append the bytes of one section, including its CRC_32, or of one descriptor. The tree was
// decoded, or was read from a document. In a document the fields may be in any order, and words
// beside values are ignored. Lengths, counts and guards are computed from the fields. "raw" is used
// as long as it decodes to the fields beside it. When a field is missing, does not fit or is not
// known, they return false with `error` and append nothing.
bool EncodeSection(const Node& section, const Options& options, std::vector<std::uint8_t>& bytes,
                   EncodeError& error);
bool EncodeDescriptor(const Node& descriptor, Space space, const Options& options,
                      std::vector<std::uint8_t>& bytes, EncodeError& error);

// For the decoder: encodes the fields of `object` again, to see whether they say all about its
// bytes. Descriptors in `object` are copied from `source`, the bytes that it was decoded from. Tag
// and length of a descriptor are left out. Returns false when a field cannot be encoded.
bool EncodeForComparison(const Known& known, const Node& object, ByteView source,
                         const Options& options, std::vector<std::uint8_t>& bytes);

// Whether `given`, from a document, has the same content as `decoded`. Words, "raw" and hints are
// not compared.
bool SaysTheSame(const Node& decoded, const Node& given, const TextRules& rules);

}  // namespace syntax
