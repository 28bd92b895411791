#pragma once

#include <string>

namespace fake {

/// Whether the SI layer's source file `file` may write a log line of this printf format. A platform
/// may sort or count lines by their format, so what is an argument must not become part of it.
/// Of a file that is no source file of the SI layer every format is allowed.
bool IsFormatOf(const std::string& file, const std::string& format);

}  // namespace fake
