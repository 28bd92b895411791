#pragma once

#include "client/Multiplex.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Output.h"

namespace tool {

/// Writes the document of `scan --format json`, as docs/torvelsi-scan-2.schema.json describes it.
void WriteScanDocument(const client::Multiplex& multiplex, const Output& output);

/// Writes the same content as text: aligned, identifiers as `1031 (0x0407)`, meanings in words.
void WriteScanText(const client::Multiplex& multiplex, const Output& output);

/// The fields of a delivery system descriptor by their names in ETSI EN 300 468, units in the name:
/// {"system", "data", ...}. One that is too short for its fields is {"system", "data",
/// "malformed": true}.
Json DeliveryToJson(const client::Descriptor& delivery);

/// The name of a table in the list `missing`.
const char* TableName(client::Missing::What what);

}  // namespace tool
