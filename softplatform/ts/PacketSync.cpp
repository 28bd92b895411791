#include "softplatform/ts/PacketSync.h"

#include "softplatform/base/ByteView.h"

namespace tvservice {

namespace {

// Whether the 4-byte numbers that lie 192 bytes apart rise as arrival times do. They count at 27
// MHz, so each is greater than the one before, by less than 2^22 (0.16 seconds).
bool Rise(const uint8_t* bytes, size_t count) {
    for (size_t i = 1; i < count; ++i) {
        const uint32_t before = ByteView(bytes + (i - 1) * 192, 4).U32(0);
        const uint32_t now = ByteView(bytes + i * 192, 4).U32(0);
        if (now <= before || now - before >= 1u << 22) {
            return false;
        }
    }
    return count > 1;
}

// Arrival times can begin with 0x47 for half a second on end, and then look like sync bytes. They
// are arrival times if a sync byte follows each of them and their values rise, while the values in
// front of the next would-be packets do not.
bool AreArrivalTimes(const uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (bytes[i * 192 + 4] != kSyncByte) {
            return false;
        }
    }
    return Rise(bytes, count) && !Rise(bytes + 188, count - 1);
}

}  // namespace

void PacketSync::Reset() {
    packetSize_ = 0;
    locked_ = false;
    ended_ = false;
    searched_ = 0;
    between_ = 0;
    held_ = 0;
}

bool PacketSync::Search(const uint8_t* bytes, size_t size, size_t& at) {
    if (ended_) {
        return SearchLast(bytes, size, at);
    }
    size_t start = 0;
    while (const void* sync = std::memchr(bytes + start, kSyncByte, size - start)) {
        start = static_cast<size_t>(static_cast<const uint8_t*>(sync) - bytes);
        if (size - start < kWindow) {
            Skip(start, at);
            return false;
        }
        for (const size_t distance : kDistances) {
            if (IsRun(bytes + start, kSyncRun, distance)) {
                Skip(start, at);
                EndSearch(distance);
                return true;
            }
        }
        ++start;
    }
    Skip(size, at);
    return true;
}

// For the last bytes of the input, which are too few for a run of five. Takes the longest run of
// sync bytes that goes on to the end of the input; of equally long ones the first.
bool PacketSync::SearchLast(const uint8_t* bytes, size_t size, size_t& at) {
    size_t bestStart = 0;
    size_t bestDistance = 0;
    size_t bestCount = 0;
    for (size_t start = 0; start + kPacketSize <= size; ++start) {
        for (const size_t distance : kDistances) {
            size_t count = 0;
            size_t next = start;
            while (next + kPacketSize <= size && bytes[next] == kSyncByte) {
                ++count;
                next += distance;
            }
            const bool reachesEnd = next >= size || bytes[next] == kSyncByte;
            const size_t lead = distance == 192 ? kArrivalTimeSize : 0;
            const bool trusted = count > 1 || searched_ + start == lead;
            if (count > bestCount && reachesEnd && trusted &&
                IsRun(bytes + start, count, distance)) {
                bestStart = start;
                bestDistance = distance;
                bestCount = count;
            }
        }
    }
    if (bestCount == 0) {
        Skip(size, at);
        return true;
    }
    Skip(bestStart, at);
    EndSearch(bestDistance);
    return true;
}

// Whether `count` packets (1 or more) may start at `bytes`, `distance` apart.
bool PacketSync::IsRun(const uint8_t* bytes, size_t count, size_t distance) {
    size_t reserved = 0;
    for (size_t i = 0; i < count; ++i) {
        const PacketView packet(bytes + i * distance);
        if (packet.sync_byte() != kSyncByte) {
            return false;
        }
        // ISO/IEC 13818-1 2.4.3.3: adaptation_field_control '00' is reserved. If most headers have
        // it, they are not headers but payload bytes that happen to be 0x47.
        reserved += packet.adaptation_field_control() == 0 ? 1 : 0;
    }
    return 2 * reserved <= count && !(distance == 192 && AreArrivalTimes(bytes, count));
}

bool PacketSync::JudgeMissingSync(const uint8_t* bytes, size_t size, size_t& at) {
    if (!ended_ && size <= 3 * packetSize_) {
        return false;
    }
    size_t expected = 0;
    size_t present = 0;
    for (size_t next = packetSize_; next < size && expected < 3; next += packetSize_) {
        ++expected;
        present += bytes[next] == kSyncByte ? 1 : 0;
    }
    if (expected == 0 || (present > 0 && present + 1 >= expected)) {
        counters_.Add(Counter::kSkippedBytes, std::min(size, kPacketSize));
        at += packetSize_;
        return true;
    }
    locked_ = false;
    counters_.Add(Counter::kSyncLosses);
    return true;
}

// Ends a search. `distance` 0 means that no packets were found. The last 4 bytes before a 192-byte
// packet are its arrival time, so they are not counted as skipped.
void PacketSync::EndSearch(size_t distance) {
    if (distance != 192) {
        counters_.Add(Counter::kSkippedBytes, std::min(searched_, kArrivalTimeSize));
    }
    if (distance != 0) {
        counters_.Add(Counter::kSyncLocks);
        packetSize_ = distance;
        locked_ = true;
    }
    searched_ = 0;
}

// Moves past `count` bytes in a search and counts them as skipped. The last 4 are left to
// EndSearch, because they may be an arrival time.
void PacketSync::Skip(size_t count, size_t& at) {
    at += count;
    const size_t countedBefore = searched_ - std::min(searched_, kArrivalTimeSize);
    searched_ += count;
    const size_t countedNow = searched_ - std::min(searched_, kArrivalTimeSize);
    counters_.Add(Counter::kSkippedBytes, countedNow - countedBefore);
}

void PacketSync::Hold(const uint8_t* bytes, size_t size) {
    std::memmove(hold_.data(), bytes, size);
    held_ = size;
}

}  // namespace tvservice
