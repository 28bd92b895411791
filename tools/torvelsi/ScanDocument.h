#pragma once

#include <string>

#include "client/Multiplex.h"
#include "tools/torvelsi/Format.h"

namespace tool {

/// The document of `scan --format json`, as docs/torvelsi-scan-1.schema.json has it.
Json ScanDocument(const client::Multiplex& multiplex);

/// The same content for people: aligned, identifiers as `1031 (0x0407)`, meanings in words.
std::string ScanText(const client::Multiplex& multiplex);

/// The fields of a delivery system descriptor by their names in ETSI EN 300 468, units in the name:
/// {"system", "data", ...}.
Json DeliveryToJson(const TORVEL_MW::IDeliveryDesc& delivery);

}  // namespace tool
