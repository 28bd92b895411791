// Functions that damage a finished stream on purpose, as aerials, cables and disks do. An index
// counts the packets of the list at the time of the call; an index outside the list throws
// std::out_of_range. The calls that take a Random choose the same packets or bytes for the same
// seed on every machine. Their `count` means "one in count" and is at least 1.
#pragma once

#include <cstddef>
#include <cstdint>

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/Random.h"

namespace generator {

// --- On packets

void DropPacket(PacketList& packets, std::size_t index);
// Repeats the packet at `index` directly behind itself.
void DuplicatePacket(PacketList& packets, std::size_t index);
// Moves the packet at `from`, so that it then has the index `to`.
void MovePacket(PacketList& packets, std::size_t from, std::size_t to);

// Each of these picks every packet with a probability of one in `count`, and returns how many
// packets it picked.
std::size_t DropPackets(PacketList& packets, Random& random, std::uint64_t count);
std::size_t DuplicatePackets(PacketList& packets, Random& random, std::uint64_t count);
// Exchanges a picked packet with the one behind it.
std::size_t SwapPackets(PacketList& packets, Random& random, std::uint64_t count);

// --- On bytes

// Inverts one bit. Bit 0 is the most significant bit of the first byte.
void FlipBit(Bytes& bytes, std::size_t bit);
// Picks every byte with a probability of one in `count` and inverts one of its bits. Returns how
// many bytes it picked.
std::size_t FlipBits(Bytes& bytes, Random& random, std::uint64_t count);
// Keeps the first `size` bytes, or all of them when there are fewer.
void Truncate(Bytes& bytes, std::size_t size);
// Inserts `size` random bytes, none of them a sync_byte, before the first byte.
void PrependGarbage(Bytes& bytes, Random& random, std::size_t size);

}  // namespace generator
