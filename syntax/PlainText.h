#pragma once

#include <string>

#include "syntax/Characters.h"
#include "syntax/Tree.h"

namespace syntax {

struct PlainTextStyle {
    std::size_t width = 110;  // of a line, in characters; a value that cannot be broken exceeds it
    std::size_t indent = 0;   // blanks before each line
    bool hex = false;         // whether each descriptor is followed by its bytes
};

// Appends `node`, a section or a descriptor that was decoded from `source`, as lines of text. An
// object takes one line if it fits, otherwise a line for each field. Each line ends with a line
// break.
void WritePlainText(const Node& node, ByteView source, const TextRules& rules,
                    const PlainTextStyle& style, std::string& out);

}  // namespace syntax
