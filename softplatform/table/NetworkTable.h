#pragma once

#include <cstdint>

#include "platform/TCDVBItemMux.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/table/Loops.h"

namespace tvservice {

// What the sub-tables of NIT and BAT have in common (ETSI EN 300 468 5.2.1, 5.2.2): a descriptor
// loop of their own, then a loop of transport streams.
struct NetworkTable {
    uint16_t id;  // network_id, bouquet_id
    uint8_t tableId;
    SpanningLoop loop;
    ItemLoop<TCDVBItemMux> muxes;

    static constexpr size_t kFixedSize = 4;  // the two length fields

    // What follows the section's header, which is at least kFixedSize long.
    void Take(uint8_t sectionNumber, ByteView body);

    void Clear();
};

}  // namespace tvservice
