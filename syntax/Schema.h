#pragma once

#include <string>

namespace syntax {

// The JSON Schema of one section or one descriptor as WriteJson writes them:
// docs/torvelsi-descriptors-1.schema.json.
std::string DescriptorsSchema();

}  // namespace syntax
