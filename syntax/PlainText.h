#pragma once

#include <string>

#include "syntax/Characters.h"
#include "syntax/Tree.h"

namespace syntax {

struct PlainTextStyle {
    std::size_t width = 110;  // of a line, where what it says can be broken
    std::size_t indent = 0;   // blanks before each line
    bool hex = false;         // the whole bytes of each descriptor behind it
};

// Appends `node`, a section or a descriptor that was decoded from `source`, as lines for people: an
// object is one line where it fits, else a line for each field. Each line ends with a line break.
void WritePlainText(const Node& node, ByteView source, const TextRules& rules,
                    const PlainTextStyle& style, std::string& out);

}  // namespace syntax
