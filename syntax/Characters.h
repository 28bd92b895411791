// DVB text both ways (ETSI EN 300 468 annex A), with the character table named.
//
// In the tree a text is UTF-8. Control codes stay in it as U+0080 to U+009F (emphasis is U+0086 and
// U+0087), the line break is a newline. A text of a table that is not known here is shown as the
// hexadecimal digits of its bytes behind the selector. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "softplatform/base/ByteView.h"

namespace syntax {

// How texts are read that do not select a table.
struct TextRules {
    std::string_view defaultTable = "iso6937";  // one of the names below
    bool arib = false;                          // ARIB STD-B24: no table of EN 300 468 counts
};

// The table that a text selects, by the name that EncodeText takes: "iso8859-9", "10:iso8859-9"
// (the three bytes long form), "utf-8", "ucs-2", "ksx1001", "gb2312", "big5"; "0x1f01" for the
// bytes of a selector that is not known. Empty when it selects none.
std::string TextTable(tvservice::ByteView text, const TextRules& rules);

// Appends the text in UTF-8, always valid.
void DecodeText(tvservice::ByteView text, const TextRules& rules, std::string& utf8);

// Appends the bytes of a text, its selector included; `table` as TextTable has it. False when the
// table is not known or lacks a character; what was appended then means nothing.
bool EncodeText(std::string_view utf8, std::string_view table, const TextRules& rules,
                std::vector<std::uint8_t>& bytes);

// Whether a text has the same bytes when it is decoded and encoded again.
bool TextSurvives(tvservice::ByteView text, const TextRules& rules);

// Whether a default table has this name.
bool IsTextTable(std::string_view name);

bool IsValidUtf8(std::string_view text);

}  // namespace syntax
