// Reads a user's JSON into a tree that the room `syntax` can encode.
#pragma once

#include <string>
#include <string_view>

#include "syntax/Tree.h"

namespace tool {

// The tree of a JSON text. The tree and its strings live in `arena`. If two members have the same
// name, the last one counts. Returns null when the text is not valid JSON; `error` then says where
// and why.
const syntax::Node* ParseJsonInput(std::string_view text, syntax::Arena& arena, std::string& error);

}  // namespace tool
