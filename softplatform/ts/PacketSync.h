#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "softplatform/base/Counters.h"
#include "softplatform/ts/PacketView.h"

namespace tvservice {

// Finds the transport packets in a stream of bytes. It also finds out their distance: 188 bytes,
// 192 (a 4-byte arrival time before each packet) or 204 (16 bytes of parity after each).
//
// Sync is found where five sync bytes follow each other at one of these distances and most of the
// headers there are valid (adaptation_field_control is not the reserved '00'). From then on, a
// packet is handed on as soon as its 188 bytes have come. A packet with a wrong sync byte is
// dropped. If at least two of the next three sync bytes are in their place, sync is kept; otherwise
// it is lost, and the search starts again at the wrong byte.
//
// The result depends on the bytes alone: any division into chunks gives the same packets and
// counters. A packet inside a chunk is handed on without a copy. Copied are only a packet that
// straddles two chunks, and fewer than 820 bytes that cannot be decided before more come. Nothing
// is allocated. Used by one thread.
//
// Counts bytes, packets, sync_locks, sync_losses (one for each loss) and skipped_bytes: every byte
// that belongs neither to a packet that was handed on nor to its arrival time or parity.
class PacketSync {
  public:
    // `counters` is borrowed and outlives this object.
    explicit PacketSync(Counters& counters) : counters_(counters) {}

    // Takes the next `size` bytes. For each packet, in order, `bool onPacket(const uint8_t*)` is
    // called with 188 bytes that are borrowed for the call; it must not call back into this object.
    // When it returns false, the rest of this chunk and all held bytes are dropped at once, as by
    // Reset(), and Feed returns false. Otherwise Feed returns true.
    template <class OnPacket>
    bool Feed(const uint8_t* data, size_t size, OnPacket&& onPacket);

    // The input has ended. Decides about the bytes that waited for more, hands on the packets among
    // them, and is then ready for another stream. Here fewer than five packets are enough if they
    // reach to the end of the input; a single one is accepted only where the search began. Returns
    // as Feed does.
    template <class OnPacket>
    bool Finish(OnPacket&& onPacket);

    // Drops held bytes without counting them, and forgets everything else.
    void Reset();

    // The distance of the packets: 188, 192 or 204; 0 until one is found. It stays when sync is
    // lost and when the input ends.
    size_t packet_size() const { return packetSize_; }

  private:
    static constexpr std::array<size_t, 3> kDistances{188, 192, 204};
    static constexpr size_t kArrivalTimeSize = 4;  // of a 192-byte packet
    static constexpr size_t kSyncRun = 5;
    // The bytes that a decision needs: five headers at the longest distance.
    static constexpr size_t kWindow = (kSyncRun - 1) * 204 + 4;

    // Works through `size` bytes from `at` on, until it is past `enough` or needs bytes beyond
    // `size`. `at` is then the first byte that is not used yet. It is past `size` when the bytes
    // between two packets have not come yet. Returns false when onPacket returned false.
    template <class OnPacket>
    bool Consume(const uint8_t* data, size_t size, size_t enough, size_t& at, OnPacket&& onPacket);

    // Both look at `size` bytes, at the start of which there is no packet with a good sync byte.
    // They move `at` past the bytes that they can decide about, and return false when they need
    // more bytes for a decision.
    bool Search(const uint8_t* bytes, size_t size, size_t& at);
    bool JudgeMissingSync(const uint8_t* bytes, size_t size, size_t& at);

    bool SearchLast(const uint8_t* bytes, size_t size, size_t& at);
    static bool IsRun(const uint8_t* bytes, size_t count, size_t distance);
    void Skip(size_t count, size_t& at);
    void EndSearch(size_t distance);
    void Hold(const uint8_t* bytes, size_t size);

    Counters& counters_;
    size_t packetSize_ = 0;
    bool locked_ = false;
    bool ended_ = false;
    size_t searched_ = 0;  // bytes passed since the search began
    size_t between_ = 0;   // bytes still to come before the next packet
    size_t held_ = 0;      // bytes in hold_ that wait for more, fewer than kWindow
    std::array<uint8_t, 2 * kWindow> hold_{};
};

template <class OnPacket>
bool PacketSync::Feed(const uint8_t* data, size_t size, OnPacket&& onPacket) {
    counters_.Add(Counter::kBytes, size);
    size_t at = between_;
    between_ = 0;
    if (held_ > 0) {
        // The chunk continues the held bytes. Decide about these in the buffer, then go on in the
        // chunk itself.
        const size_t before = held_;
        const size_t added = std::min(size, kWindow);
        std::copy_n(data, added, hold_.data() + before);
        size_t used = 0;
        if (!Consume(hold_.data(), before + added, before, used, onPacket)) {
            return false;
        }
        if (used < before) {
            Hold(hold_.data() + used, before + added - used);
            return true;
        }
        held_ = 0;
        at = used - before;
    }
    if (!Consume(data, size, size, at, onPacket)) {
        return false;
    }
    if (at < size) {
        Hold(data + at, size - at);
    } else {
        between_ = at - size;
    }
    return true;
}

template <class OnPacket>
bool PacketSync::Finish(OnPacket&& onPacket) {
    ended_ = true;
    size_t at = 0;
    if (!Consume(hold_.data(), held_, held_, at, onPacket)) {
        return false;
    }
    if (at < held_) {
        counters_.Add(Counter::kSkippedBytes, held_ - at);  // the start of a packet that is cut off
    }
    const size_t found = packetSize_;
    if (!locked_) {
        EndSearch(0);
    }
    Reset();
    packetSize_ = found;
    return true;
}

template <class OnPacket>
bool PacketSync::Consume(const uint8_t* data, size_t size, size_t enough, size_t& at,
                         OnPacket&& onPacket) {
    while (at < enough) {
        if (locked_ && data[at] == kSyncByte) {
            if (size - at < kPacketSize) {
                return true;
            }
            const uint8_t* packet = data + at;
            at += packetSize_;
            counters_.Add(Counter::kPackets);
            if (!onPacket(packet)) {
                Reset();
                return false;
            }
        } else if (!(locked_ ? JudgeMissingSync(data + at, size - at, at)
                             : Search(data + at, size - at, at))) {
            return true;
        }
    }
    return true;
}

}  // namespace tvservice
