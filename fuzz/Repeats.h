#pragma once

#include <vector>

#include "fuzz/Sections.h"
#include "tests/contract/platform/Tables.h"

namespace fuzzing {

// What a broadcast says again and again teaches nothing. One parser of the kind is fed the sections
// in order, and after each of them whatever of the tables is still in force again; another one only
// what the first one took, each section once. Aborts unless both have the same to say to whatever
// can be asked, and unless every repeat is taken.
void RequireRepeatsTeachNothing(const contract::TableKind& kind,
                                const std::vector<Section>& sections);

}  // namespace fuzzing
