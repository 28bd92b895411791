#pragma once

#include <string>

namespace fake {

/// Returns whether the source file `file` of the SI layer may write a log line with this printf
/// format. A platform may sort or count lines by their format, so an argument must not become part
/// of the format. For a file that is not of the SI layer every format is allowed.
bool IsFormatOf(const std::string& file, const std::string& format);

}  // namespace fake
