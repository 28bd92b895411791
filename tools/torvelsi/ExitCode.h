#pragma once

namespace tool {

/// The exit statuses of the tool.
enum ExitCode {
    kDone = 0,
    kUsage = 1,       ///< the command line is wrong, or the platform refused the filter
    kUnreadable = 2,  ///< the input cannot be read or the output cannot be written
    kIncomplete = 3   ///< something is missing, or a time-out passed
};

}  // namespace tool
