#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace tvservice {

// A program_clock_reference, ISO/IEC 13818-1 2.4.3.5.
struct Pcr {
    uint16_t pid;
    uint64_t ticks;     // base * 300 + extension: of 27 MHz, below kPcrModulus
    bool isAfterBreak;  // discontinuity_indicator: the first of a new time base
};

constexpr uint64_t kPcrFrequency = 27'000'000;
constexpr uint64_t kPcrModulus = (uint64_t{1} << 33) * 300;

// Finds the PCRs of a stream of 188-, 192- or 204-byte packets, which it gets in pieces of any
// size. It misses PCRs in the few packets before packet sync is found, and ignores packets with
// transport_error_indicator.
class PcrScanner {
  public:
    // Reads `size` bytes (1 or more), or fewer when a PCR is complete before; `pcr` receives the
    // PCR, or none. Returns how many bytes were read, at least 1.
    //
    // ISO/IEC 13818-1 2.4.2.2: a PCR is the time at which the byte arrives that completes its base.
    size_t Scan(const uint8_t* bytes, size_t size, std::optional<Pcr>& pcr);

    // Forgets everything, as if newly made.
    void Reset() { *this = {}; }

  private:
    static constexpr size_t kMaxPacketSize = 204;
    static constexpr size_t kHuntedBytes = 2 * kMaxPacketSize + 1;  // three sync bytes
    static constexpr size_t kPcrEnd = 12;  // where a PCR ends in its packet

    void Hunt(uint8_t byte);
    void LoseSync(uint8_t byte);
    std::optional<Pcr> ReadPcr() const;

    size_t packetSize_ = 0;  // 0 before packet sync is found
    // Without packet sync: the bytes that passed last, from one that may be a sync byte on.
    std::array<uint8_t, kHuntedBytes> hunted_{};
    size_t huntedSize_ = 0;
    // With packet sync: where in its packet the next byte lies, and the packet's first bytes.
    size_t at_ = 0;
    std::array<uint8_t, kPcrEnd> header_{};
};

}  // namespace tvservice
