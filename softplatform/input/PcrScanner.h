#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace tvservice {

// A program_clock_reference, ISO/IEC 13818-1 2.4.3.5.
struct Pcr {
    uint16_t pid;
    uint64_t ticks;     // base * 300 + extension, in units of 1/27 MHz; below kPcrModulus
    bool isAfterBreak;  // discontinuity_indicator: the first PCR of a new time base
};

constexpr uint64_t kPcrFrequency = 27'000'000;
constexpr uint64_t kPcrModulus = (uint64_t{1} << 33) * 300;

// Finds the PCRs in a stream of 188-, 192- or 204-byte packets. The stream comes in pieces of any
// size. PCRs before packet sync is found (three sync bytes) are missed. Packets with
// transport_error_indicator are ignored.
class PcrScanner {
  public:
    // Reads at most `size` bytes (1 or more) and stops after the last byte of a PCR. `pcr` receives
    // that PCR, or none. Returns how many bytes were read, at least 1.
    //
    // ISO/IEC 13818-1 2.4.2.2: a PCR is the arrival time of the byte that contains the last bit of
    // its base, which is one byte earlier. The difference is ignored.
    size_t Scan(const uint8_t* bytes, size_t size, std::optional<Pcr>& pcr);

    // Returns to the state of a new scanner.
    void Reset() { *this = {}; }

  private:
    static constexpr size_t kMaxPacketSize = 204;
    static constexpr size_t kHuntedBytes = 2 * kMaxPacketSize + 1;  // reach three sync bytes
    static constexpr size_t kPcrEnd = 12;  // where a PCR ends in its packet

    void Hunt(uint8_t byte);
    void LoseSync(uint8_t byte);
    std::optional<Pcr> ReadPcr() const;

    size_t packetSize_ = 0;  // 0 before packet sync is found
    // Without packet sync: the latest bytes, beginning with one that may be a sync byte.
    std::array<uint8_t, kHuntedBytes> hunted_{};
    size_t huntedSize_ = 0;
    // With packet sync: the position of the next byte in its packet, and the packet's first bytes.
    size_t at_ = 0;
    std::array<uint8_t, kPcrEnd> header_{};
};

}  // namespace tvservice
