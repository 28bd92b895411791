#pragma once

#include <cstddef>
#include <cstdint>

namespace tvservice {

// CRC-32 as ISO/IEC 13818-1 annex A defines it: polynomial 0x04C11DB7, initial value 0xFFFFFFFF,
// most significant bit first, nothing inverted at the end. Over a section together with its own
// CRC_32 field the result is 0.
//
// All functions are pure and may be called on any thread. `data` may be null when `size` is 0 and
// need not be aligned. `crc` is the result for the bytes before these, so that a long message can
// be summed in pieces.

constexpr uint32_t kCrc32Initial = 0xFFFFFFFF;

// Uses the fastest method of this processor, which the first call detects.
uint32_t Crc32(const uint8_t* data, size_t size, uint32_t crc = kCrc32Initial);

// Looks up tables, sixteen bytes at a time. Works on every processor.
uint32_t Crc32Slicing(const uint8_t* data, size_t size, uint32_t crc = kCrc32Initial);

// Whether Crc32CarrylessMultiply may be called on this processor.
bool Crc32HasCarrylessMultiply();

// Uses carry-less multiplication (x86 PCLMULQDQ, 64-bit ARM PMULL), 64 bytes at a time. To be
// called only if Crc32HasCarrylessMultiply() is true: another processor may end the program with an
// illegal instruction.
uint32_t Crc32CarrylessMultiply(const uint8_t* data, size_t size, uint32_t crc = kCrc32Initial);

}  // namespace tvservice
