// Trees of values to sections and descriptors.
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

// Both append the bytes of one section, its CRC_32 included, or of one descriptor. The tree is one
// that was decoded, or was read from a document: fields in any order, words beside values ignored,
// lengths, counts and guards made up from what is there, and "raw" in force while it decodes to the
// fields beside it. False with `error` when a field is missing, does not fit or is not known; what
// was appended then is taken away.
bool EncodeSection(const Node& section, const Options& options, std::vector<std::uint8_t>& bytes,
                   EncodeError& error);
bool EncodeDescriptor(const Node& descriptor, Space space, const Options& options,
                      std::vector<std::uint8_t>& bytes, EncodeError& error);

// The fields of `object`, which was decoded from `source`, encoded as if `source` were not known,
// but for the descriptors in it, whose bytes are taken from there; without the tag and length of a
// descriptor. False when a field cannot say its bytes. For the decoder.
bool EncodeForComparison(const Known& known, const Node& object, ByteView source,
                         const Options& options, std::vector<std::uint8_t>& bytes);

// Whether `given`, from a document, says the same as `decoded`. Words, "raw" and hints do not
// count.
bool SaysTheSame(const Node& decoded, const Node& given, const TextRules& rules);

}  // namespace syntax
