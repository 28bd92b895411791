#pragma once

#include <vector>

#include "fuzz/Sections.h"
#include "tests/contract/platform/Tables.h"

namespace fuzzing {

// Tests that repeats change nothing. One parser of the kind gets the sections in order; after each
// of them it gets again all sections that are still in force. A second parser gets only the
// sections that the first one accepted, each once. Aborts when their dumps differ, or when the
// first one refuses a repeat.
void RequireRepeatsTeachNothing(const contract::TableKind& kind,
                                const std::vector<Section>& sections);

}  // namespace fuzzing
