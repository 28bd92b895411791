// Ready-made transport streams. The same name and seed give the same bytes on every machine.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace generator {

struct ScenarioInfo {
    std::string_view name;
    std::string_view summary;  // one line of description
};

// Returns all scenarios; the first is the default ("demo"). The names live as long as the program.
std::vector<ScenarioInfo> Scenarios();

// Returns the stream of a scenario in packets of 188 bytes (a damaged stream may have cut packets),
// or nothing when no scenario has this name. The seed chooses pictures, sound, first counters and
// damage; the tables of a scenario are the same for every seed. Any thread may call it.
std::vector<std::uint8_t> MakeScenario(std::string_view name, std::uint64_t seed = 0);

// The rate and the duration of the demo. It needs at least 800 packets a second.
struct DemoExtent {
    std::uint32_t packetsPerSecond = 800;
    std::uint32_t milliseconds = 10'000;
};

// Makes the demo with another rate and duration: the same tables at the same times. Null packets
// fill the rest.
std::vector<std::uint8_t> MakeDemoStream(const DemoExtent& extent, std::uint64_t seed = 0);

}  // namespace generator
