// The programme guide of the demo multiplex.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "generator/Tables.h"

namespace generator {

// `count` events of `duration` seconds each, one behind the other, the first at `start` (seconds
// since 1970); the one that runs at kDemoTime has running_status 4 and more descriptors. Titles
// follow from the service and the place in the row, event ids count up from `firstId`.
std::vector<EitEvent> MakeDemoEvents(std::uint16_t service_id, std::int64_t start,
                                     std::uint32_t duration, std::size_t count,
                                     std::uint16_t firstId);

}  // namespace generator
