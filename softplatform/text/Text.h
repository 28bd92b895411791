#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tvservice {

// Converts a text of service information (ETSI EN 300 468 annex A) to UTF-8. The result is always
// valid UTF-8.
//
// The first byte of the text selects the character table:
//
// - 0x01 to 0x0B and 0x10: a part of ISO/IEC 8859;
// - 0x11 and 0x14: 16-bit codes of ISO/IEC 10646;
// - 0x12: KS X 1001; 0x13: GB 2312; 0x15: UTF-8;
// - 0x20 and above: no selector but text, in the Latin table 00 (ISO/IEC 6937);
// - others (0x1F with its encoding_type_id too), and parts of ISO/IEC 8859 that do not exist: the
//   selector is dropped and only ASCII is converted.
//
// Control codes are 0x80 to 0x9F, and 0xE080 to 0xE09F in tables of several bytes. The line break
// becomes a newline; the others, such as emphasis, are dropped. A line feed, a carriage return, and
// the two together become one newline. NULs at the end are dropped. Any other code that has no
// character in the table, or is cut off at the end, becomes one U+FFFD; conversion goes on after
// it.
//
// `data` may be null when `size` is 0. May be called on any thread.
std::string TextToUtf8(const std::uint8_t* data, std::size_t size);

}  // namespace tvservice
