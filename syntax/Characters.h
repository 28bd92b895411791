// Decodes and encodes DVB text (ETSI EN 300 468 annex A), and names its character table.
//
// In the tree a text is UTF-8. Control codes become U+0080 to U+009F (emphasis is U+0086 and
// U+0087), and the line break becomes a newline. When the character table is not known here, the
// bytes after the selector are shown as hexadecimal digits. May be used on any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "softplatform/base/ByteView.h"

namespace syntax {

// How to read texts that do not select a character table.
struct TextRules {
    std::string_view defaultTable = "iso6937";  // one of the names below
    bool arib = false;  // texts are ARIB STD-B24; the tables of EN 300 468 are not used
};

// The name of the character table that a text selects: "iso8859-9", "10:iso8859-9" (a selector of
// three bytes), "utf-8", "ucs-2", "ksx1001", "gb2312", "big5". An unknown selector is named by its
// bytes: "0x1f01". Empty when the text selects none. EncodeText takes the same names.
std::string TextTable(tvservice::ByteView text, const TextRules& rules);

// Appends the text in UTF-8. The result is valid UTF-8 for any input.
void DecodeText(tvservice::ByteView text, const TextRules& rules, std::string& utf8);

// Appends the bytes of a text, including its selector. `table` is a name as TextTable returns it.
// Returns false when the table is not known or lacks a character; the appended bytes are then
// useless.
bool EncodeText(std::string_view utf8, std::string_view table, const TextRules& rules,
                std::vector<std::uint8_t>& bytes);

// Whether a text has the same bytes when it is decoded and encoded again.
bool TextSurvives(tvservice::ByteView text, const TextRules& rules);

// Whether this is the name of a character table that may be the default.
bool IsTextTable(std::string_view name);

bool IsValidUtf8(std::string_view text);

}  // namespace syntax
