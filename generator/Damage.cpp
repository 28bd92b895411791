#include "generator/Damage.h"

#include <algorithm>
#include <stdexcept>

namespace generator {
namespace {

constexpr std::uint8_t kSyncByte = 0x47;

PacketList::iterator At(PacketList& packets, std::size_t index) {
    if (index >= packets.size()) {
        throw std::out_of_range("no packet has this index");
    }
    return packets.begin() + static_cast<std::ptrdiff_t>(index);
}

}  // namespace

void DropPacket(PacketList& packets, std::size_t index) {
    packets.erase(At(packets, index));
}

void DuplicatePacket(PacketList& packets, std::size_t index) {
    const Packet packet = *At(packets, index);
    packets.insert(At(packets, index), packet);
}

void MovePacket(PacketList& packets, std::size_t from, std::size_t to) {
    const auto source = At(packets, from);
    const auto target = At(packets, to);
    if (source < target) {
        std::rotate(source, source + 1, target + 1);
    } else {
        std::rotate(target, source, source + 1);
    }
}

std::size_t DropPackets(PacketList& packets, Random& random, std::uint64_t count) {
    return std::erase_if(packets, [&](const Packet&) { return random.OneIn(count); });
}

std::size_t DuplicatePackets(PacketList& packets, Random& random, std::uint64_t count) {
    PacketList doubled;
    doubled.reserve(packets.size());
    for (const Packet& packet : packets) {
        doubled.push_back(packet);
        if (random.OneIn(count)) {
            doubled.push_back(packet);
        }
    }
    packets.swap(doubled);
    return packets.size() - doubled.size();
}

std::size_t SwapPackets(PacketList& packets, Random& random, std::uint64_t count) {
    std::size_t swapped = 0;
    for (std::size_t i = 0; i + 1 < packets.size(); ++i) {
        if (random.OneIn(count)) {
            std::swap(packets[i], packets[i + 1]);
            ++swapped;
            ++i;  // skip the packet that was just moved
        }
    }
    return swapped;
}

void FlipBit(Bytes& bytes, std::size_t bit) {
    std::uint8_t& byte = bytes.at(bit / 8);
    byte = static_cast<std::uint8_t>(byte ^ 0x80u >> bit % 8);
}

std::size_t FlipBits(Bytes& bytes, Random& random, std::uint64_t count) {
    std::size_t flipped = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (random.OneIn(count)) {
            FlipBit(bytes, i * 8 + static_cast<std::size_t>(random.Below(8)));
            ++flipped;
        }
    }
    return flipped;
}

void Truncate(Bytes& bytes, std::size_t size) {
    bytes.resize(std::min(bytes.size(), size));
}

void PrependGarbage(Bytes& bytes, Random& random, std::size_t size) {
    Bytes garbage = random.Fill(size);
    std::replace(garbage.begin(), garbage.end(), kSyncByte, std::uint8_t{0x48});
    bytes.insert(bytes.begin(), garbage.begin(), garbage.end());
}

}  // namespace generator
