#pragma once

#include <functional>
#include <string_view>

namespace tool {

/// Receives text piece by piece, in order. A document can be large, so no piece is kept after the
/// call.
using Output = std::function<void(std::string_view)>;

}  // namespace tool
