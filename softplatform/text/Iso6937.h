#pragma once

#include <cstdint>

namespace tvservice {

// The Latin table 00 (ETSI EN 300 468 figure A.1): ISO/IEC 6937 with the euro sign at 0xA4. In it
// an accent is a code of its own, before the letter.

// The character of a code from 0x20 to 0xFF; 0 when the code has none or is an accent.
char32_t Iso6937Character(std::uint8_t code);

// The Unicode combining character of an accent (0xC1 to 0xCF); 0 when the code is not an accent.
char32_t Iso6937Accent(std::uint8_t code);

// The single Unicode character for an accent and the letter after it; 0 when there is none. With a
// space as the letter: the accent by itself.
char32_t Iso6937Composed(std::uint8_t accent, std::uint8_t letter);

}  // namespace tvservice
