#include "softplatform/table/NetworkTable.h"

#include <memory>
#include <vector>

#include "softplatform/descriptor/Internals.h"

struct TCDVBItemMux::Impl {
    uint16_t onid;
    uint16_t tsid;
    tvservice::DescriptorLoop loop;
};

TCDVBItemMux::TCDVBItemMux(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBItemMux::~TCDVBItemMux() = default;

unsigned short TCDVBItemMux::TransportStreamId() const {
    return m_impl->tsid;
}

unsigned short TCDVBItemMux::OriginalNetworkId() const {
    return m_impl->onid;
}

int TCDVBItemMux::NumOfDescriptors() {
    return static_cast<int>(m_impl->loop.size());
}

TCBaseDesc* TCDVBItemMux::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

namespace tvservice {

namespace {
constexpr size_t kLengthSize = 2;
constexpr size_t kMuxHeadSize = 6;  // transport_stream_id to transport_descriptors_length
}  // namespace

void NetworkTable::Take(SectionView section) {
    const ByteView body = section.body();
    const ByteView own = Field(body, kLengthSize, body.U16(0) & 0x0FFF);
    loop.Put(section.section_number(), DescriptorLoop(own, tableId));
    const ByteView rest = body.Subview(kLengthSize + own.size());
    std::vector<std::unique_ptr<TCDVBItemMux>> items;
    EntryReader reader(Field(rest, kLengthSize, rest.U16(0) & 0x0FFF), kMuxHeadSize);
    while (reader.Next()) {
        items.push_back(
            TVServiceInternals::Make<TCDVBItemMux>(reader.head().U16(2), reader.head().U16(0),
                                                   DescriptorLoop(reader.descriptors(), tableId)));
    }
    muxes.Put(section.section_number(), std::move(items));
}

void NetworkTable::Clear() {
    loop.Clear();
    muxes.Clear();
}

}  // namespace tvservice
