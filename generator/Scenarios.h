// Ready-made transport streams, each the same to the byte for its name and seed on every machine.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace generator {

struct ScenarioInfo {
    std::string_view name;
    std::string_view summary;  // one line for people
};

// All scenarios, the default ("demo") first. The names live as long as the program.
std::vector<ScenarioInfo> Scenarios();

// The stream of a scenario, in packets of 188 bytes (damaged ones may lack some of them); empty for
// a name that does not exist. The seed chooses pictures, sound, first counters and damage; the
// tables of a scenario are the same for every seed. May be called on any thread.
std::vector<std::uint8_t> MakeScenario(std::string_view name, std::uint64_t seed = 0);

// How fast and how long the demo is sent. Below 800 packets a second it does not find room.
struct DemoExtent {
    std::uint32_t packetsPerSecond = 800;
    std::uint32_t milliseconds = 10'000;
};

// The demo in another extent: the same tables at the same times, and null packets for the rest.
std::vector<std::uint8_t> MakeDemoStream(const DemoExtent& extent, std::uint64_t seed = 0);

}  // namespace generator
