#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <vector>

// Packets and sections written by hand, one line per field. Independent of the code under test.
namespace testsupport {

using Bytes = std::vector<uint8_t>;

inline Bytes Join(const std::vector<Bytes>& parts) {
    Bytes whole;
    for (const Bytes& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

// Returns the bytes from `offset` on, at most `count` of them.
inline Bytes Slice(const Bytes& bytes, size_t offset, size_t count = SIZE_MAX) {
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(offset, bytes.size()));
    const size_t left = static_cast<size_t>(bytes.end() - first);
    return Bytes(first, first + static_cast<std::ptrdiff_t>(std::min(count, left)));
}

// Returns `count` bytes that count up from `first`.
inline Bytes Counting(size_t count, uint8_t first = 0) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<uint8_t>(first + i);
    }
    return bytes;
}

inline Bytes RandomBytes(std::mt19937& random, size_t count) {
    Bytes bytes(count);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(random());
    }
    return bytes;
}

// The CRC-32 of ISO/IEC 13818-1 annex A, bit by bit. Every faster function must give the same.
inline uint32_t Crc32Bitwise(const uint8_t* data, size_t size, uint32_t crc = 0xFFFFFFFF) {
    for (size_t i = 0; i < size; ++i) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool feedback = ((crc >> 31) ^ (data[i] >> bit & 1u)) != 0;
            crc = crc << 1 ^ (feedback ? 0x04C11DB7u : 0u);
        }
    }
    return crc;
}

// A section with section_syntax_indicator 1 and a correct CRC_32.
struct SectionBytes {
    uint8_t table_id = 0x42;
    uint16_t table_id_extension = 0x0001;
    uint8_t version_number = 0;
    bool current_next_indicator = true;
    uint8_t section_number = 0;
    uint8_t last_section_number = 0;
    Bytes body{};  // at most 4084 bytes

    Bytes Build() const {
        const size_t section_length = body.size() + 9;
        if (section_length > 4093) {
            throw std::length_error("section_length above 4093");
        }
        const Bytes header{
            table_id,
            static_cast<uint8_t>(0xB0 | section_length >> 8),
            static_cast<uint8_t>(section_length),
            static_cast<uint8_t>(table_id_extension >> 8),
            static_cast<uint8_t>(table_id_extension),
            static_cast<uint8_t>(0xC0 | version_number << 1 | (current_next_indicator ? 1 : 0)),
            section_number,
            last_section_number};
        const Bytes bytes = Join({header, body});
        const uint32_t CRC_32 = Crc32Bitwise(bytes.data(), bytes.size());
        return Join({bytes,
                     {static_cast<uint8_t>(CRC_32 >> 24), static_cast<uint8_t>(CRC_32 >> 16),
                      static_cast<uint8_t>(CRC_32 >> 8), static_cast<uint8_t>(CRC_32)}});
    }
};

// A correct section of exactly `size` bytes (12 to 4096). The bytes of its body count up.
inline Bytes SectionOfSize(size_t size, uint8_t table_id = 0x42) {
    return SectionBytes{.table_id = table_id, .body = Counting(size - 12)}.Build();
}

// A section of the short form: table_id, section_length, body.
inline Bytes PlainSection(uint8_t table_id, const Bytes& body) {
    return Join({{table_id, static_cast<uint8_t>(0x70 | body.size() >> 8),
                  static_cast<uint8_t>(body.size())},
                 body});
}

// A transport packet: 188 bytes.
struct PacketBytes {
    uint16_t PID = 0x0100;
    uint8_t continuity_counter = 0;
    bool payload_unit_start_indicator = false;
    bool transport_error_indicator = false;
    uint8_t transport_scrambling_control = 0;
    // The bytes behind adaptation_field_length. Stuffing makes them longer when the payload leaves
    // room. The packet has no adaptation field when they are empty and the payload fills the
    // packet.
    Bytes adaptation_field{};

    // The payload, up to 184 bytes, at the end of the packet. Stuffing in the adaptation field
    // fills the rest.
    Bytes Build(const Bytes& payload) const {
        const bool adaptation = payload.size() < 184;
        if (payload.size() > 184 ||
            (adaptation && adaptation_field.size() + payload.size() > 183) ||
            (!adaptation && !adaptation_field.empty())) {
            throw std::length_error("the payload does not fit into a packet");
        }
        Bytes bytes{
            0x47,
            static_cast<uint8_t>((transport_error_indicator ? 0x80 : 0) |
                                 (payload_unit_start_indicator ? 0x40 : 0) | PID >> 8),
            static_cast<uint8_t>(PID),
            static_cast<uint8_t>(transport_scrambling_control << 6 | (adaptation ? 0x20 : 0) |
                                 (payload.empty() ? 0 : 0x10) | (continuity_counter & 0xF))};
        if (adaptation) {
            const size_t adaptation_field_length = 183 - payload.size();
            bytes.push_back(static_cast<uint8_t>(adaptation_field_length));
            Bytes field = adaptation_field;
            if (field.empty() && adaptation_field_length > 0) {
                field.push_back(0x00);  // no flags
            }
            field.resize(adaptation_field_length, 0xFF);
            bytes.insert(bytes.end(), field.begin(), field.end());
        }
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        return bytes;
    }
};

// A payload of 184 bytes: `bytes`, then the stuffing that ISO/IEC 13818-1 2.4.4 puts behind
// sections.
inline Bytes Stuffed(Bytes bytes) {
    bytes.resize(184, 0xFF);
    return bytes;
}

}  // namespace testsupport
