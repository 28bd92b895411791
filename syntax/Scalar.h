// How coded values read in a document, both ways: times, decimal digits, addresses, characters.
// What a coded value cannot say in its field's form (a time with an eleventh month's digit, say) is
// shown as the hexadecimal digits of its bits, so that nothing is lost.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "syntax/Characters.h"
#include "syntax/Tree.h"

namespace syntax {

struct Scalar {
    enum class Type : std::uint8_t { kNull, kBoolean, kUnsigned, kNegative, kReal, kString };

    Type type = Type::kNull;
    std::uint64_t number = 0;  // kNegative: two's complement
    double real = 0;
    std::string text;
};

// What a document says for `node`, which is no container. Keeps the memory of `scalar.text`.
void ReadScalar(const Node& node, const TextRules& rules, Scalar& scalar);

// The coded value of the number, flag, time or label `op` that `node` (decoded, or from a document)
// stands for. False when it does not fit, with what was expected.
bool CodeNumber(const Op& op, const Node& node, std::uint64_t& coded, std::string& expected);

// Appends the bytes of the characters, address, text or bytes `op`; `table` is what stands beside a
// text from a document. False when it does not fit, with what was expected.
bool CodeBytes(const Op& op, const Node& node, std::string_view table, const TextRules& rules,
               std::vector<std::uint8_t>& bytes, std::string& expected);

// Whether values of `op` are bytes rather than numbers.
bool IsCodedAsBytes(OpKind kind);

// The name beside a text that says its table: "text_table" for "text", "event_name_text_table".
std::string TextTableName(std::string_view field);

// The words for a coded value; `object` has the fields that its table goes by. Empty without words.
std::string_view Words(const Op& op, const Node& object, std::uint64_t coded);

}  // namespace syntax
