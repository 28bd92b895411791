// Converts coded values (times, decimal digits, addresses, characters) to their form in a document,
// and back. A coded value that its field's form cannot express, such as a BCD digit above nine, is
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

// The form of `node` in a document; `node` is not a container. Reuses the memory of `scalar.text`.
void ReadScalar(const Node& node, const TextRules& rules, Scalar& scalar);

// The coded value of `node`, which was decoded or comes from a document, in the field `op`: a
// number, flag, time or label. Returns false when it does not fit; `expected` then says why.
bool CodeNumber(const Op& op, const Node& node, std::uint64_t& coded, std::string& expected);

// Appends the bytes of `node` in the field `op`: characters, an address, a text or bytes. `table`
// is the character table that a document names beside a text. Returns false when the value does not
// fit; `expected` then says why.
bool CodeBytes(const Op& op, const Node& node, std::string_view table, const TextRules& rules,
               std::vector<std::uint8_t>& bytes, std::string& expected);

// Whether fields of this kind are encoded by CodeBytes; the others are encoded by CodeNumber.
bool IsCodedAsBytes(OpKind kind);

// The name of the member that names a text's character table: "text_table" for "text",
// "event_name_text_table" for "event_name".
std::string TextTableName(std::string_view field);

// The words for a coded value; empty when it has none. `object` has the other fields that the keys
// of the value table need.
std::string_view Words(const Op& op, const Node& object, std::uint64_t coded);

}  // namespace syntax
