#pragma once

#include <cstddef>
#include <cstdint>

namespace tvservice {

// CRC-32 as ISO/IEC 13818-1 annex A defines it: polynomial 0x04C11DB7, initial value 0xFFFFFFFF,
// most significant bit first, nothing inverted at the end. Over a section together with its own
// CRC_32 field the result is 0.
//
// All functions are pure and may be called on any thread. `data` may be null when `size` is 0 and
// need not be aligned. `crc` is the result for the bytes before these, so that a sum can be made
// piece by piece.

constexpr uint32_t kCrc32Initial = 0xFFFFFFFF;

// The fastest way this processor knows, found out at the first call.
uint32_t Crc32(const uint8_t* data, size_t size, uint32_t crc = kCrc32Initial);

// Sixteen bytes a step through tables; works everywhere.
uint32_t Crc32Slicing(const uint8_t* data, size_t size, uint32_t crc = kCrc32Initial);

// Whether Crc32CarrylessMultiply may be called on this processor.
bool Crc32HasCarrylessMultiply();

// Folds 64 bytes a step by carry-less multiplication (x86 PCLMULQDQ, 64-bit ARM PMULL). Only where
// Crc32HasCarrylessMultiply() is true; on another processor it may stop the program.
uint32_t Crc32CarrylessMultiply(const uint8_t* data, size_t size, uint32_t crc = kCrc32Initial);

}  // namespace tvservice
