#include <vector>

#include "generator/scenarios/BroadcastTables.h"
#include "generator/scenarios/Life.h"
#include "generator/scenarios/Streams.h"

namespace generator {

PacketList MakeBroadcast(std::uint64_t seed) {
    constexpr std::uint16_t kPcrPid = 0x0501;
    std::vector<SentTable> tables = MakeBroadcastPrograms();
    tables.push_back(MakeBroadcastNetworks());
    tables.push_back(MakeBroadcastServices());
    tables.push_back(MakeBroadcastEvents());
    Life life(seed, kPcrPid);
    life.Period(tables);
    return life.packets();
}

}  // namespace generator
