// The functions that make the streams of Scenarios.h, one source file each.
#pragma once

#include <cstdint>

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/Scenarios.h"

namespace generator {

// A plausible multiplex without an error.
PacketList MakeDemo(std::uint64_t seed, const DemoExtent& extent = {});
// Sub-tables whose version changes in every way, announced or not.
PacketList MakeVersions(std::uint64_t seed);
// Rare content that is seen on air, legal or not, in undamaged packets.
PacketList MakeOddities(std::uint64_t seed);
// Every table, with rare content that is on air, in one state that does not change.
PacketList MakeBroadcast(std::uint64_t seed);
// Every table in several versions: they count up, jump back and are announced; some tables are
// huge.
PacketList MakeBroadcastVersions(std::uint64_t seed);
// A PAT without a network PID, and a network on the PID that is then its default.
PacketList MakeNoNetwork(std::uint64_t seed);
// The same sections packed in every way, and packets that a section layer must ignore.
PacketList MakePacketisation(std::uint64_t seed);
// The demo after bad reception: losses, duplicates, exchanged packets, bit errors, lost bytes, a
// cut end.
Bytes MakeDamaged(std::uint64_t seed);

}  // namespace generator
