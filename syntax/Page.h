#pragma once

#include <string>

namespace syntax {

// The page of all tables and descriptors that are declared, in Markdown: docs/descriptors.md.
std::string DescriptorsPage();

}  // namespace syntax
