#pragma once

#include <string>

#include "syntax/Characters.h"
#include "syntax/Tree.h"

namespace syntax {

// Appends `node` as JSON text in UTF-8: in one line, or, if `indented`, in lines with two blanks
// for each level. After a coded value that has words comes a member "..._name" with the words.
// After a text that selects a character table comes a member with the table's name.
void WriteJson(const Node& node, const TextRules& rules, bool indented, std::string& out);

// Appends a JSON string, escaped and in quotes.
void WriteJsonString(std::string_view text, std::string& out);

}  // namespace syntax
