#pragma once

namespace TORVEL_MW {

/// Stands for any OUI or any service in the queries for software updates. No broadcast value equals
/// it: an OUI has 24 bits, a service_id 16.
constexpr unsigned int kAny = 0xFFFFFFFF;

}  // namespace TORVEL_MW
