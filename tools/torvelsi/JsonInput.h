// JSON of a user to the trees that the room `syntax` encodes.
#pragma once

#include <string>
#include <string_view>

#include "syntax/Tree.h"

namespace tool {

// The tree of a JSON text; its strings live in `arena`. Null for what is no JSON, with where and
// why in `error`. Of two members with the same name the last counts.
const syntax::Node* ParseJsonInput(std::string_view text, syntax::Arena& arena, std::string& error);

}  // namespace tool
