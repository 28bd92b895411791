#pragma once

namespace client {

/// The last id whose sections find their subscription: the platform knows ids by 16 bits, and the
/// section manager never gives one again before 4294967294 others. A process that has made so many
/// subscriptions gets no section for those that follow.
constexpr unsigned int kLastServedId = 0xFFFF;

/// The time-out of a subscription that has none.
constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

}  // namespace client
