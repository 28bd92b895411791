#include "softplatform/table/NetworkTable.h"

#include <memory>
#include <utility>

#include "softplatform/descriptor/Internals.h"

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

// The value of the 12-bit length field at the start of `bytes`.
size_t LengthOf(ByteView bytes) {
    return bytes.U16(0) & 0x0FFF;
}

}  // namespace

Room NetworkTable::RoomFor(SectionView section) {
    const ByteView body = section.body();
    const ByteView own = body.Subview(kLengthSize, LengthOf(body));
    const ByteView rest = body.Subview(kLengthSize + own.size());
    Room room = RoomForEntries(rest.Subview(kLengthSize, LengthOf(rest)), kMuxHeadSize);
    room.descriptors += DescriptorLoop::CountIn(own);
    return room;
}

void NetworkTable::Reserve(size_t sections) {
    loop.Reserve(sections);
    muxes.Reserve(sections);
}

void NetworkTable::Take(SubTable::Held held, Room room) {
    const uint8_t number = held.section.section_number();
    const ByteView body = held.section.body();
    const ByteView own = Field(body, kLengthSize, LengthOf(body));
    const ByteView rest = body.Subview(kLengthSize + own.size());
    loop.Put(number, DescriptorLoop(own, tableId, held.arena));
    muxes.Put(number,
              Items<TCDVBItemMux>(Field(rest, kLengthSize, LengthOf(rest)), kMuxHeadSize,
                                  room.entries, held.arena, [&](const EntryReader& entry) {
                                      return TVServiceInternals::Impl<TCDVBItemMux>{
                                          entry.head().U16(2), entry.head().U16(0),
                                          DescriptorLoop(entry.descriptors(), tableId, held.arena)};
                                  }));
}

void NetworkTable::Clear() {
    loop.Clear();
    muxes.Clear();
}

}  // namespace tvservice
