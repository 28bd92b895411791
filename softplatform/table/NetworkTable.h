#pragma once

#include <cstdint>

#include "platform/TCDVBItemMux.h"
#include "softplatform/section/SectionView.h"
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

    // Of which at least kFixedSize bytes follow the header.
    void Take(SectionView section);

    void Clear();
};

}  // namespace tvservice
