#pragma once

#include <functional>
#include <string_view>

namespace tool {

/// Takes text piece by piece, in order. What is printed can be large: no part of it is kept longer
/// than it takes to write it.
using Output = std::function<void(std::string_view)>;

}  // namespace tool
