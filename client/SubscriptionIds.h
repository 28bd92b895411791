#pragma once

namespace client {

/// The last subscription id that gets sections. The platform passes only the low 16 bits of an id
/// back, and the section manager gives no id a second time before it has used up 32 bits. So after
/// 65535 subscriptions a process gets no section for any further one.
constexpr unsigned int kLastServedId = 0xFFFF;

/// The time-out argument of a subscription without time-out.
constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

}  // namespace client
