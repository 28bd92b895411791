#include "tests/unit/syntax/SyntaxTest.h"

#include "softplatform/base/Crc32.h"
#include "syntax/Encoder.h"
#include "syntax/Hex.h"
#include "syntax/Json.h"
#include "syntax/Scalar.h"
#include "tools/torvelsi/JsonInput.h"

namespace syntaxtest {

using namespace syntax;

std::vector<std::uint8_t> FromHex(std::string_view digits) {
    std::string packed;
    for (const char c : digits) {
        if (c != ' ') {
            packed += c;
        }
    }
    std::vector<std::uint8_t> bytes;
    EXPECT_TRUE(ParseHex(packed, bytes)) << digits;
    return bytes;
}

std::string ToHex(const std::vector<std::uint8_t>& bytes) {
    std::string digits;
    AppendHex({bytes.data(), bytes.size()}, digits);
    return digits;
}

namespace {

std::string Encoded(const Node& tree, bool section, Space space, const Options& options) {
    std::vector<std::uint8_t> bytes;
    EncodeError error;
    const bool fits = section ? EncodeSection(tree, options, bytes, error)
                              : EncodeDescriptor(tree, space, options, bytes, error);
    return fits ? ToHex(bytes) : error.path + ": " + error.expected;
}

std::string EncodedJson(std::string_view json, bool section, Space space, const Options& options) {
    Arena arena;
    std::string error;
    const Node* tree = tool::ParseJsonInput(json, arena, error);
    if (tree == nullptr) {
        ADD_FAILURE() << error << " in " << json;
        return error;
    }
    return Encoded(*tree, section, space, options);
}

std::string Checked(std::string_view hex, bool section, Space space, const Options& options) {
    const std::vector<std::uint8_t> bytes = FromHex(hex);
    const ByteView view(bytes.data(), bytes.size());
    Decoder decoder(options);
    Arena arena;
    const Node* tree =
        section ? decoder.Section(view, arena) : decoder.Descriptor(view, arena, space);
    std::string json;
    WriteJson(*tree, options.text, false, json);
    EXPECT_EQ(ToHex(bytes), Encoded(*tree, section, space, options)) << json;
    EXPECT_EQ(ToHex(bytes), EncodedJson(json, section, space, options)) << json;
    return json;
}

}  // namespace

std::string DescriptorJson(std::string_view hex, const Options& options, Space space) {
    return Checked(hex, false, space, options);
}

std::string SectionJson(std::string_view hex, const Options& options) {
    return Checked(hex, true, Space::kMain, options);
}

std::string EncodedDescriptor(std::string_view json, const Options& options, Space space) {
    return EncodedJson(json, false, space, options);
}

std::string EncodedSection(std::string_view json, const Options& options) {
    return EncodedJson(json, true, Space::kMain, options);
}

std::string LongSection(unsigned tableId, bool dvb, std::string_view body) {
    const std::vector<std::uint8_t> inner = FromHex(body);
    const std::size_t length = inner.size() + 4;
    std::vector<std::uint8_t> section{
        static_cast<std::uint8_t>(tableId),
        static_cast<std::uint8_t>((dvb ? 0xF0u : 0xB0u) | length >> 8),
        static_cast<std::uint8_t>(length)};
    section.insert(section.end(), inner.begin(), inner.end());
    const std::uint32_t crc = tvservice::Crc32(section.data(), section.size());
    for (int shift = 24; shift >= 0; shift -= 8) {
        section.push_back(static_cast<std::uint8_t>(crc >> shift));
    }
    return ToHex(section);
}

}  // namespace syntaxtest
