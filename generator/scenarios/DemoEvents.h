// The programme guide of the demo.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "generator/Tables.h"

namespace generator {

// Makes `count` consecutive events of `duration` seconds each; the first begins at `start` (seconds
// since 1970). The event that runs at kDemoTime has running_status 4 and more descriptors. The
// service and the position choose the titles; event ids count up from `firstId`.
std::vector<EitEvent> MakeDemoEvents(std::uint16_t service_id, std::int64_t start,
                                     std::uint32_t duration, std::size_t count,
                                     std::uint16_t firstId);

}  // namespace generator
