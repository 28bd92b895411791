#include "generator/Scenarios.h"

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/scenarios/Streams.h"

namespace generator {
namespace {

template <PacketList (*kMake)(std::uint64_t)>
Bytes InPackets(std::uint64_t seed) {
    return Serialise(kMake(seed));
}

struct Scenario {
    ScenarioInfo info;
    Bytes (*make)(std::uint64_t seed);
};

Bytes MakeUsualDemo(std::uint64_t seed) {
    return MakeDemoStream({}, seed);
}

constexpr Scenario kScenarios[] = {
    {{"demo", "ten seconds of a plausible multiplex with every table"}, MakeUsualDemo},
    {{"versions", "versions that change, wrap, jump back, leave and return"},
     InPackets<MakeVersions>},
    {{"oddities", "rarities: odd linkages, empty names, huge tables, cut descriptors"},
     InPackets<MakeOddities>},
    {{"broadcast", "every table and descriptor with what is rare but on air"},
     InPackets<MakeBroadcast>},
    {{"broadcast-versions", "every table in versions, some of 64 and 256 sections"},
     InPackets<MakeBroadcastVersions>},
    {{"no-network", "a PAT without programme 0, and a network all the same"},
     InPackets<MakeNoNetwork>},
    {{"packetisation", "sections in packets in every way, and packets without sections"},
     InPackets<MakePacketisation>},
    {{"damaged", "the demo with losses, duplicates, bit errors and a cut end"}, MakeDamaged},
};

}  // namespace

std::vector<ScenarioInfo> Scenarios() {
    std::vector<ScenarioInfo> infos;
    for (const Scenario& scenario : kScenarios) {
        infos.push_back(scenario.info);
    }
    return infos;
}

std::vector<std::uint8_t> MakeScenario(std::string_view name, std::uint64_t seed) {
    for (const Scenario& scenario : kScenarios) {
        if (scenario.info.name == name) {
            return scenario.make(seed);
        }
    }
    return {};
}

std::vector<std::uint8_t> MakeDemoStream(const DemoExtent& extent, std::uint64_t seed) {
    return Serialise(MakeDemo(seed, extent));
}

}  // namespace generator
