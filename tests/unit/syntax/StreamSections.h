// Sections for the tests of the room `syntax`: of streams, and of captures beside the checkout.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace syntaxtest {

using Section = std::vector<std::uint8_t>;

// Every different section of a transport stream: those of the PIDs below 0x20, and those with a
// good CRC_32 on the others.
std::set<Section> SectionsOfStream(const std::vector<std::uint8_t>& stream);

// Calls `visit` with the name and the sections of each stream in `folder`; false without folder.
bool ForEachCapture(
    const std::string& folder,
    const std::function<void(const std::string& name, const std::set<Section>&)>& visit);

}  // namespace syntaxtest
