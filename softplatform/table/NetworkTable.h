#pragma once

#include <cstdint>

#include "platform/TCDVBItemMux.h"
#include "softplatform/descriptor/DescriptorLoop.h"
#include "softplatform/section/SectionView.h"
#include "softplatform/table/Loops.h"
#include "softplatform/table/SubTable.h"

struct TCDVBItemMux::Impl {
    uint16_t onid;
    uint16_t tsid;
    tvservice::DescriptorLoop loop;
};

namespace tvservice {

// The content of a sub-table of NIT or BAT (ETSI EN 300 468 5.2.1, 5.2.2): the descriptors of the
// network or bouquet, then a loop of transport streams.
struct NetworkTable {
    uint16_t id;  // network_id or bouquet_id
    uint8_t tableId;
    SpanningLoop loop;
    ItemLoop<Items<TCDVBItemMux>> muxes;

    static constexpr size_t kFixedSize = 4;  // the two length fields
    static constexpr size_t kRoomEach = Items<TCDVBItemMux>::RoomEach();

    // What SubTables needs. The body of `section` has at least kFixedSize bytes.
    static Room RoomFor(SectionView section);
    void Reserve(size_t sections);
    void Take(SubTable::Held held, Room room);
    void Clear();
};

}  // namespace tvservice
