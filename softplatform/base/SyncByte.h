#pragma once

#include <cstdint>

namespace tvservice {

// The first byte of every transport packet (ISO/IEC 13818-1 2.4.3.2).
constexpr uint8_t kSyncByte = 0x47;

}  // namespace tvservice
