// What must hold of every section, whatever its bytes.
#pragma once

#include <string>

#include "syntax/Decoder.h"

namespace syntaxtest {

// Empty when all of it holds, else what does not:
// - the section's tree encodes to the same bytes;
// - so does its JSON, read again;
// - without "raw" its JSON encodes to bytes that decode to the same fields (a malformed part keeps
//   its raw bytes: it has no others).
std::string RoundTripFault(syntax::ByteView section, const syntax::Options& options);

}  // namespace syntaxtest
