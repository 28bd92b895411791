// Compares the fast CRC-32 functions with the polynomial division, bit by bit.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "softplatform/base/Crc32.h"

namespace {

std::uint32_t Bitwise(const std::uint8_t* data, std::size_t size) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        crc ^= std::uint32_t{data[i]} << 24;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x80000000) != 0 ? crc << 1 ^ 0x04C11DB7 : crc << 1;
        }
    }
    return crc;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::uint32_t expected = Bitwise(data, size);
    if (tvservice::Crc32(data, size) != expected ||
        tvservice::Crc32Slicing(data, size) != expected) {
        std::abort();
    }
    if (tvservice::Crc32HasCarrylessMultiply() &&
        tvservice::Crc32CarrylessMultiply(data, size) != expected) {
        std::abort();
    }
    return 0;
}
