// The streams behind the names of Scenarios.h, one file each.
#pragma once

#include <cstdint>

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/Scenarios.h"

namespace generator {

// A plausible multiplex without any error.
PacketList MakeDemo(std::uint64_t seed, const DemoExtent& extent = {});
// Sub-tables that change their version in every way, announced and not.
PacketList MakeVersions(std::uint64_t seed);
// Legal and illegal rarities that are seen on air, in undamaged packets.
PacketList MakeOddities(std::uint64_t seed);
// Every table with whatever is rare but on air, in one unchanging state.
PacketList MakeBroadcast(std::uint64_t seed);
// Every table in several versions: counted on, counted back, announced; some tables are huge.
PacketList MakeBroadcastVersions(std::uint64_t seed);
// A PAT that names no network, and a network on the PID where it is looked for then.
PacketList MakeNoNetwork(std::uint64_t seed);
// The same sections in every packing, and packets that a section layer must leave alone.
PacketList MakePacketisation(std::uint64_t seed);
// The demo after a bad way: losses, duplicates, exchanges, bit errors, lost bytes, a cut end.
Bytes MakeDamaged(std::uint64_t seed);

}  // namespace generator
