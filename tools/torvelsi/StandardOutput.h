#pragma once

#include <chrono>

namespace tool {

/// From now on standard output and standard error are written in small pieces, and the time of each
/// write is measured (OutputStall), so that the tool notices when a reader has stopped. Call it
/// before anything is printed.
void WatchOutput();

/// How long the write in progress has been waiting for its reader; 0 when there is none. If both
/// outputs wait, the longer time. May be called on any thread.
std::chrono::milliseconds OutputStall();

}  // namespace tool
