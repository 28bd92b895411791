// What the tests of the room `syntax` share: bytes as hexadecimal, trees as JSON.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "syntax/Decoder.h"

namespace syntaxtest {

// Bytes of hexadecimal digits; blanks between them do not count.
std::vector<std::uint8_t> FromHex(std::string_view digits);
std::string ToHex(const std::vector<std::uint8_t>& bytes);

// The JSON of one descriptor or section. It must encode to the same bytes again, both from the tree
// and from the JSON, and must not get other fields when its "raw" is taken away.
std::string DescriptorJson(std::string_view hex, const syntax::Options& options = {},
                           syntax::Space space = syntax::Space::kMain);
std::string SectionJson(std::string_view hex, const syntax::Options& options = {});

// The bytes that a JSON text encodes to, or the error as "path: expected".
std::string EncodedDescriptor(std::string_view json, const syntax::Options& options = {},
                              syntax::Space space = syntax::Space::kMain);
std::string EncodedSection(std::string_view json, const syntax::Options& options = {});

// A section around `body`, which begins behind section_length: with its length and CRC_32.
std::string LongSection(unsigned tableId, bool dvb, std::string_view body);

}  // namespace syntaxtest
