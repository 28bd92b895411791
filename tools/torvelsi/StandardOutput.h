#pragma once

#include <chrono>

namespace tool {

/// Has standard output and standard error written in small pieces, each of which is timed, so that
/// a reader that has stopped reading is noticed. Call it before anything is printed.
void WatchOutput();

/// How long the piece that is being written has been waiting for the reader; 0 when none is. Any
/// thread.
std::chrono::milliseconds OutputStall();

}  // namespace tool
