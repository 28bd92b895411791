#include <cstddef>

#include "generator/Damage.h"
#include "generator/Random.h"
#include "generator/scenarios/Streams.h"

namespace generator {

Bytes MakeDamaged(std::uint64_t seed) {
    PacketList packets = MakeDemo(seed);
    Random random(seed);
    DropPackets(packets, random, 400);
    DuplicatePackets(packets, random, 300);
    SwapPackets(packets, random, 700);
    Bytes stream = Serialise(packets);

    // Bytes are missing inside a packet, at one quarter and at three quarters of the stream:
    // synchronisation is lost there.
    for (const std::size_t quarter : {std::size_t{1}, std::size_t{3}}) {
        const std::size_t packet = packets.size() * quarter / 4;
        const auto from = stream.begin() + static_cast<std::ptrdiff_t>(packet * kPacketSize + 100);
        stream.erase(from, from + 75);
    }
    FlipBits(stream, random, 20000);
    PrependGarbage(stream, random, 150);
    Truncate(stream, stream.size() - 90);
    return stream;
}

}  // namespace generator
