#pragma once

#include <cstdint>

namespace tvservice {

// The Latin table 00 (ETSI EN 300 468 figure A.1): ISO/IEC 6937 with the euro sign at 0xA4. Its
// accents stand before the letter that bears them.

// The character of a code that is no accent, 0x20 to 0xFF; 0 when there is none.
char32_t Iso6937Character(std::uint8_t code);

// The combining mark of an accent, 0xC1 to 0xCF; 0 when the code is none.
char32_t Iso6937Accent(std::uint8_t code);

// The one character for an accent and the letter after it; 0 when Unicode has none. A space gives
// the accent standing alone.
char32_t Iso6937Composed(std::uint8_t accent, std::uint8_t letter);

}  // namespace tvservice
