#include <cstdint>
#include <memory>
#include <utility>

#include "platform/TCDVBSDTParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/Loops.h"
#include "softplatform/table/SectionParser.h"
#include "softplatform/table/SubTables.h"

using tvservice::ByteView;
using tvservice::DescriptorLoop;
using tvservice::Room;
using tvservice::SectionView;
using tvservice::SubTable;

namespace {
constexpr size_t kSdtFixedSize = 3;     // original_network_id, reserved
constexpr size_t kServiceHeadSize = 5;  // service_id to descriptors_loop_length
}  // namespace

struct TCDVBSDTItemService::Impl {
    ByteView head;  // borrowed from the section that the sub-table holds
    DescriptorLoop loop;
};

TCDVBSDTItemService::TCDVBSDTItemService(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBSDTItemService::~TCDVBSDTItemService() = default;

unsigned short TCDVBSDTItemService::ServiceId() const {
    return m_impl->head.U16(0);
}

bool TCDVBSDTItemService::EITScheduleFlag() const {
    return (m_impl->head.U8(2) & 0x02) != 0;
}

bool TCDVBSDTItemService::EITPresentFollowingFlag() const {
    return (m_impl->head.U8(2) & 0x01) != 0;
}

unsigned char TCDVBSDTItemService::RunningStatus() const {
    return m_impl->head.U8(3) >> 5;
}

bool TCDVBSDTItemService::FreeCAMode() const {
    return (m_impl->head.U8(3) & 0x10) != 0;
}

int TCDVBSDTItemService::NumOfDescriptors() {
    return static_cast<int>(m_impl->loop.size());
}

TCBaseDesc* TCDVBSDTItemService::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

using Services = tvservice::Items<TCDVBSDTItemService>;

struct TCDVBSDTInstance::Impl {
    uint16_t onid;
    uint16_t tsid;
    tvservice::ItemLoop<Services> services = {};

    static constexpr size_t kRoomEach = Services::RoomEach();

    // The service loop, ETSI EN 300 468 5.2.3.
    static ByteView LoopOf(SectionView section) { return section.body().Subview(kSdtFixedSize); }

    static Room RoomFor(SectionView section) {
        return tvservice::RoomForEntries(LoopOf(section), kServiceHeadSize);
    }

    void Take(SubTable::Held held, Room room) {
        const uint8_t tableId = held.section.table_id();
        services.Put(held.section.section_number(),
                     Services(LoopOf(held.section), kServiceHeadSize, room.entries, held.arena,
                              [&](const tvservice::EntryReader& entry) {
                                  return TVServiceInternals::Impl<TCDVBSDTItemService>{
                                      entry.head(),
                                      DescriptorLoop(entry.descriptors(), tableId, held.arena)};
                              }));
    }

    void Reserve(size_t sections) { services.Reserve(sections); }

    void Clear() { services.Clear(); }
};

TCDVBSDTInstance::TCDVBSDTInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBSDTInstance::~TCDVBSDTInstance() = default;

unsigned short TCDVBSDTInstance::OriginalNetworkId() const {
    return m_impl->onid;
}

unsigned short TCDVBSDTInstance::TransportStreamId() const {
    return m_impl->tsid;
}

int TCDVBSDTInstance::NumOfDVBSDTItemService() {
    return static_cast<int>(m_impl->services.size());
}

TCDVBSDTItemService* TCDVBSDTInstance::DVBSDTItemServiceOfIndex(unsigned int index) {
    return m_impl->services.At(index);
}

TCDVBSDTItemService* TCDVBSDTInstance::DVBSDTItemServiceBySID(unsigned short serviceId) {
    return m_impl->services.Find([serviceId](const TCDVBSDTItemService& service) {
        return service.ServiceId() == serviceId;
    });
}

struct TCDVBSDTParser::Impl {
    using Key = std::pair<uint16_t, uint16_t>;  // onid, tsid

    uint8_t tableId;
    tvservice::SubTables<Key, TCDVBSDTInstance> instances;
    TCDVBSDTInstance* first = nullptr;  // the sub-table whose first section came first
};

TCDVBSDTParser::TCDVBSDTParser(int tableId, TVSHandle const&)
    : m_impl(new Impl{static_cast<uint8_t>(tableId), {}, nullptr}) {}

TCDVBSDTParser::~TCDVBSDTParser() = default;

bool TCDVBSDTParser::Parse(short, unsigned char* bytes) {
    const auto section =
        tvservice::ApplicableSection(bytes, m_impl->tableId, m_impl->tableId, kSdtFixedSize);
    if (!section) {
        return false;
    }
    const uint16_t tsid = section->table_id_extension();
    const uint16_t onid = section->body().U16(0);
    if (!m_impl->instances.Take({onid, tsid}, *section, [&] {
            return TVServiceInternals::Make<TCDVBSDTInstance>(onid, tsid);
        })) {
        return false;
    }
    if (m_impl->first == nullptr) {
        m_impl->first = m_impl->instances.Find({onid, tsid});
    }
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = tsid;
    return true;
}

void TCDVBSDTParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.Clear();
    m_impl->first = nullptr;
}

TCDVBSDTInstance* TCDVBSDTParser::DVBSDTInstance(unsigned short originalNetworkId,
                                                 unsigned short transportStreamId) {
    return m_impl->instances.Find({originalNetworkId, transportStreamId});
}

TCDVBSDTInstance* TCDVBSDTParser::DVBSDTFirstInstance() {
    return m_impl->first;
}
