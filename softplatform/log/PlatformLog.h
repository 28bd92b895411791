#pragma once

#include <functional>

namespace tvservice {

// Where the lines of LOG (platform/Log.h) go. By default those of priority 5 and above are written
// to stderr, each with one write: the first letter of its priority, its tag, a colon and the line.
// Colours are kept only when stderr is a terminal.
//
// All of this may be used on any thread, until the very end of the process: nothing here is ever
// destroyed.

// Buffer, priority, tag, and the line with its colours and without a newline at its end; borrowed
// for the call.
using LogReceiver =
    std::function<void(int bufferId, int priority, const char* tag, const char* line)>;

// Sends lines to a receiver instead of stderr; an empty one restores stderr. It is called on the
// thread that writes the line, one line at a time, and must not write to the log itself. When this
// returns, the previous receiver is not called any more.
void ReplaceLogReceiver(LogReceiver receiver);

// Lines below this priority are dropped.
void SetLowestLogPriority(int lowest);

}  // namespace tvservice
