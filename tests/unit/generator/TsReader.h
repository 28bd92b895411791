#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "tests/support/TsBytes.h"

namespace generator {

// Reads an undamaged stream of 188-byte packets in the simplest way, independent of the code under
// test: sections with their time, and counts of errors.
struct ReadSection {
    uint16_t pid;
    std::vector<uint8_t> bytes;
    double seconds;  // of the last clock reference before the section's end; 0 before the first

    bool syntax() const { return (bytes[1] & 0x80) != 0; }
    uint8_t table_id() const { return bytes[0]; }
    uint16_t table_id_extension() const { return U16(3); }
    uint8_t version_number() const { return bytes[5] >> 1 & 0x1F; }
    bool current_next_indicator() const { return (bytes[5] & 1) != 0; }
    uint8_t section_number() const { return bytes[6]; }
    uint8_t last_section_number() const { return bytes[7]; }
    uint16_t U16(size_t at) const { return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]); }
    uint16_t U13(size_t at) const { return U16(at) & 0x1FFF; }
    uint16_t U12(size_t at) const { return U16(at) & 0x0FFF; }
};

class TsReader {
  public:
    explicit TsReader(const std::vector<uint8_t>& stream) {
        for (size_t at = 0; at + 188 <= stream.size(); at += 188) {
            ReadPacket(&stream[at]);
        }
    }

    std::vector<ReadSection> sections;
    std::map<uint16_t, size_t> packets;              // by PID
    std::map<uint16_t, std::vector<double>> clocks;  // seconds, by PID
    size_t syncErrors = 0;
    size_t continuityGaps = 0;
    size_t duplicates = 0;
    size_t crcErrors = 0;
    size_t cutSections = 0;  // the next section began before they ended

    // Returns the sections of a table in order of arrival.
    std::vector<ReadSection> Table(uint16_t pid, uint8_t table_id) const {
        std::vector<ReadSection> found;
        for (const ReadSection& section : sections) {
            if (section.pid == pid && section.table_id() == table_id) {
                found.push_back(section);
            }
        }
        return found;
    }

  private:
    struct Pid {
        std::optional<uint8_t> counter;
        std::array<uint8_t, 188> last{};
        std::vector<uint8_t> open;
        bool collecting = false;
    };

    void ReadPacket(const uint8_t* packet) {
        if (packet[0] != 0x47) {
            ++syncErrors;
            return;
        }
        const auto pid = static_cast<uint16_t>((packet[1] & 0x1F) << 8 | packet[2]);
        ++packets[pid];
        size_t at = 4;
        bool announced = false;
        if ((packet[3] & 0x20) != 0) {
            if (packet[4] > 0) {
                announced = (packet[5] & 0x80) != 0;
                if ((packet[5] & 0x10) != 0) {
                    ReadClock(pid, packet + 6);
                }
            }
            at += 1u + packet[4];
        }
        const bool hasPayload = (packet[3] & 0x10) != 0;
        if (pid == 0x1FFF || !hasPayload || !Continues(pids_[pid], packet, announced)) {
            return;
        }
        const bool scrambled = (packet[3] & 0xC0) != 0;
        const bool coded = at + 3 <= 188 && packet[at] == 0 && packet[at + 1] == 0;
        const bool starts = (packet[1] & 0x40) != 0;
        if (!scrambled && !(starts && coded && packet[at + 2] == 1)) {
            ReadPayload(pid, std::vector<uint8_t>(packet + at, packet + 188), starts);
        }
    }

    void ReadClock(uint16_t pid, const uint8_t* field) {
        uint64_t base = 0;
        for (size_t i = 0; i < 5; ++i) {
            base = base << 8 | field[i];
        }
        const uint64_t extension = (field[4] & 1u) << 8 | field[5];
        seconds_ = static_cast<double>((base >> 7) * 300 + extension) / 27e6;
        clocks[pid].push_back(seconds_);
    }

    bool Continues(Pid& pid, const uint8_t* packet, bool announced) {
        std::array<uint8_t, 188> bytes{};
        std::copy(packet, packet + 188, bytes.begin());
        const uint8_t counter = packet[3] & 0x0F;
        if (pid.counter && bytes == pid.last) {
            ++duplicates;
            return false;
        }
        if (pid.counter && counter != ((*pid.counter + 1) & 0x0F) && !announced) {
            ++continuityGaps;
        }
        pid.counter = counter;
        pid.last = bytes;
        return true;
    }

    void ReadPayload(uint16_t number, const std::vector<uint8_t>& payload, bool starts) {
        Pid& pid = pids_[number];
        if (!starts) {
            Append(number, payload, 0, payload.size());
            return;
        }
        const size_t first = 1u + payload[0];
        Append(number, payload, 1, first);
        if (!pid.open.empty()) {
            ++cutSections;
        }
        pid.open.clear();
        pid.collecting = true;
        Append(number, payload, first, payload.size());
    }

    void Append(uint16_t number, const std::vector<uint8_t>& payload, size_t from, size_t to) {
        Pid& pid = pids_[number];
        for (size_t at = from; at < to && pid.collecting; ++at) {
            if (pid.open.empty() && payload[at] == 0xFF) {
                pid.collecting = false;  // stuffing up to the next start
                return;
            }
            pid.open.push_back(payload[at]);
            if (pid.open.size() >= 3 &&
                pid.open.size() == 3u + ((pid.open[1] & 0x0Fu) << 8 | pid.open[2])) {
                Close(number, std::exchange(pid.open, {}));
            }
        }
    }

    void Close(uint16_t number, std::vector<uint8_t> bytes) {
        const bool syntax = (bytes[1] & 0x80) != 0;
        if (syntax && testsupport::Crc32Bitwise(bytes.data(), bytes.size()) != 0) {
            ++crcErrors;
            return;
        }
        sections.push_back({number, std::move(bytes), seconds_});
    }

    std::map<uint16_t, Pid> pids_;
    double seconds_ = 0;
};

}  // namespace generator
