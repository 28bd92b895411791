#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tvservice {

// A text of service information (ETSI EN 300 468 annex A) in UTF-8, always valid.
//
// Its first byte selects the character table: 0x01 to 0x0B and 0x10 a part of ISO/IEC 8859, 0x11
// and 0x14 16-bit codes of ISO/IEC 10646, 0x12 KS X 1001, 0x13 GB 2312, 0x15 UTF-8; from 0x20 on it
// is text itself, in the Latin table 00 (ISO/IEC 6937). Of a table that is reserved or unknown here
// (0x1F and its encoding_type_id among them) the selector is dropped and what is ASCII is shown.
//
// Of the control codes (0x80 to 0x9F; 0xE080 to 0xE09F in tables of several bytes) the line break
// becomes a newline, the others, emphasis among them, are dropped. A line feed, a carriage return
// and the two together become one newline. NULs at the end are dropped. Everything
// else that has no character in the table, a code cut off at the end too, becomes one U+FFFD a
// code, and what follows is read on.
//
// `data` may be null when `size` is 0. May be called on any thread.
std::string TextToUtf8(const std::uint8_t* data, std::size_t size);

}  // namespace tvservice
