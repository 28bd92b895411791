#pragma once

#include <string>

#include "syntax/Characters.h"
#include "syntax/Tree.h"

namespace syntax {

// Appends `node` as JSON text, in UTF-8, without line breaks; with them and two blanks a level
// where `indented`. Behind a coded value that has words stands its words as "..._name", behind a
// text that selects a character table the table.
void WriteJson(const Node& node, const TextRules& rules, bool indented, std::string& out);

// Appends a string in its quotes.
void WriteJsonString(std::string_view text, std::string& out);

}  // namespace syntax
