// Damage on purpose, to finished streams: what aerials, cables and disks do. Indexes are those of
// the list at the time of the call; an index outside of it throws std::out_of_range. Calls with a
// Random do the same on every machine for the same seed; `count` in "one in count" is at least 1.
#pragma once

#include <cstddef>
#include <cstdint>

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/Random.h"

namespace generator {

// --- On packets

void DropPacket(PacketList& packets, std::size_t index);
// The packet at `index` twice in a row.
void DuplicatePacket(PacketList& packets, std::size_t index);
// Takes the packet at `from` out and puts it where it has index `to`.
void MovePacket(PacketList& packets, std::size_t from, std::size_t to);

// Each packet with the probability one in `count`; each returns how many it met.
std::size_t DropPackets(PacketList& packets, Random& random, std::uint64_t count);
std::size_t DuplicatePackets(PacketList& packets, Random& random, std::uint64_t count);
// Exchanges a packet with the one behind it.
std::size_t SwapPackets(PacketList& packets, Random& random, std::uint64_t count);

// --- On bytes

// Inverts one bit, counted from the most significant bit of the first byte.
void FlipBit(Bytes& bytes, std::size_t bit);
// Inverts one bit in each byte that is met, one in `count`; returns how many.
std::size_t FlipBits(Bytes& bytes, Random& random, std::uint64_t count);
// Keeps the first `size` bytes (all, when there are fewer).
void Truncate(Bytes& bytes, std::size_t size);
// Puts `size` random bytes, none of them a sync_byte, in front.
void PrependGarbage(Bytes& bytes, Random& random, std::size_t size);

}  // namespace generator
