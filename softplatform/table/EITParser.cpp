#include <cstdint>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/TCDVBEITParser.h"
#include "softplatform/descriptor/DescriptorArena.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/descriptor/Recycled.h"
#include "softplatform/table/Loops.h"
#include "softplatform/table/SectionParser.h"
#include "softplatform/table/SubTables.h"

using tvservice::ByteView;

namespace {
constexpr size_t kEitFixedSize = 6;    // transport_stream_id to last_table_id
constexpr size_t kEventHeadSize = 12;  // event_id to descriptors_loop_length
}  // namespace

struct TCDVBEITItemEvent::Impl {
    ByteView head;
    ByteView descriptors;
};

TCDVBEITItemEvent::TCDVBEITItemEvent(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBEITItemEvent::~TCDVBEITItemEvent() = default;

unsigned short TCDVBEITItemEvent::EventId() const {
    return m_impl->head.U16(0);
}

unsigned long long TCDVBEITItemEvent::StartTime() const {
    return static_cast<unsigned long long>(m_impl->head.U16(2)) << 24 | m_impl->head.U24(4);
}

unsigned int TCDVBEITItemEvent::Duration() const {
    return m_impl->head.U24(7);
}

unsigned char TCDVBEITItemEvent::RunningStatus() const {
    return m_impl->head.U8(10) >> 5;
}

bool TCDVBEITItemEvent::FreeCAMode() const {
    return (m_impl->head.U8(10) & 0x10) != 0;
}

unsigned char* TCDVBEITItemEvent::DescriptorLoop() const {
    // The client passed the section as a pointer to non-const; only ByteView made it const.
    return const_cast<unsigned char*>(m_impl->descriptors.data());
}

int TCDVBEITItemEvent::DescriptorLoopLength() const {
    return static_cast<int>(m_impl->descriptors.size());
}

struct TCDVBEITItem::Impl {
    tvservice::DescriptorArena arena;
    tvservice::Items<TCDVBEITItemEvent> events;
};

// The ids of the service are not used: m_Parse decodes a section of any service.
TCDVBEITItem::TCDVBEITItem(int, unsigned short, unsigned short, TVSHandle const&)
    : m_impl(tvservice::Recycled<Impl>::Take()) {
    m_impl->events = {};
}

TCDVBEITItem::~TCDVBEITItem() {
    tvservice::Recycled<Impl>::Give(std::move(m_impl));
}

bool TCDVBEITItem::m_Parse(unsigned char* bytes, int length, int tableId) {
    m_impl->events = {};
    if (bytes == nullptr || length < 0) {
        return false;
    }
    const auto section = tvservice::SectionView::From(bytes, static_cast<size_t>(length));
    if (!section || section->table_id() != tableId || !section->section_syntax_indicator() ||
        section->body().size() < kEitFixedSize) {
        return false;
    }
    const ByteView loop = section->body().Subview(kEitFixedSize);
    size_t count = 0;
    for (tvservice::EntryReader reader(loop, kEventHeadSize); reader.Next();) {
        ++count;
    }
    using Events = tvservice::Items<TCDVBEITItemEvent>;
    m_impl->arena.Begin(count * Events::RoomEach());
    m_impl->events =
        Events(loop, kEventHeadSize, count, m_impl->arena, [](const tvservice::EntryReader& entry) {
            return TVServiceInternals::Impl<TCDVBEITItemEvent>{entry.head(), entry.descriptors()};
        });
    return true;
}

int TCDVBEITItem::NumOfDVBEITItemEvent() const {
    return static_cast<int>(m_impl->events.size());
}

TCDVBEITItemEvent* TCDVBEITItem::DVBEITItemEvent(unsigned int index) {
    return index < m_impl->events.size() ? m_impl->events.At(index) : nullptr;
}

struct TCDVBEITInstance::Impl {
    uint16_t onid;
    uint16_t tsid;
    uint16_t sid;

    // Nothing is decoded here: clients decode the events with TCDVBEITItem.
    static constexpr size_t kRoomEach = 0;
    static tvservice::Room RoomFor(tvservice::SectionView) { return {}; }
    void Reserve(size_t) {}
    void Take(tvservice::SubTable::Held, tvservice::Room) {}
    void Clear() {}
};

TCDVBEITInstance::TCDVBEITInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBEITInstance::~TCDVBEITInstance() = default;

unsigned short TCDVBEITInstance::ServiceId() const {
    return m_impl->sid;
}

unsigned short TCDVBEITInstance::TransportStreamId() const {
    return m_impl->tsid;
}

unsigned short TCDVBEITInstance::OriginalNetworkId() const {
    return m_impl->onid;
}

struct TCDVBEITParser::Impl {
    using Key = std::tuple<uint16_t, uint16_t, uint16_t>;  // onid, tsid, sid

    uint8_t tableId;
    tvservice::SubTables<Key, TCDVBEITInstance> instances;
    std::vector<uint8_t> lastSection;
};

TCDVBEITParser::TCDVBEITParser(int tableId, TVSHandle const&)
    : m_impl(new Impl{static_cast<uint8_t>(tableId), {}, {}}) {}

TCDVBEITParser::~TCDVBEITParser() = default;

bool TCDVBEITParser::Parse(short, unsigned char* bytes) {
    const auto section =
        tvservice::ApplicableSection(bytes, m_impl->tableId, m_impl->tableId, kEitFixedSize);
    if (!section) {
        return false;
    }
    m_impl->lastSection.reserve(section->size());
    // ETSI EN 300 468 5.2.4
    const uint16_t sid = section->table_id_extension();
    const uint16_t tsid = section->body().U16(0);
    const uint16_t onid = section->body().U16(2);
    if (!m_impl->instances.Take({onid, tsid, sid}, *section, [&] {
            return TVServiceInternals::Make<TCDVBEITInstance>(onid, tsid, sid);
        })) {
        return false;
    }
    // Allocates nothing: the bytes were reserved above.
    m_impl->lastSection.assign(section->bytes().begin(), section->bytes().end());
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = sid;
    return true;
}

void TCDVBEITParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.Clear();
    m_impl->lastSection.clear();
}

TCDVBEITInstance* TCDVBEITParser::EITInstance(TCServiceKey key) {
    return m_impl->instances.Find(
        {key.m_originalNetworkId, key.m_transportStreamId, key.m_serviceId});
}

unsigned char* TCDVBEITParser::Section() const {
    return m_impl->lastSection.empty() ? nullptr : m_impl->lastSection.data();
}

int TCDVBEITParser::SectionLength() const {
    return m_impl->lastSection.empty()
               ? 0
               : static_cast<int>(m_impl->lastSection.size() - tvservice::kSectionHeaderSize);
}
