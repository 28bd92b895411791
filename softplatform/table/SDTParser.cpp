#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/TCDVBSDTParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/BaseSection.h"
#include "softplatform/table/Loops.h"
#include "softplatform/table/SectionParser.h"

using tvservice::ByteView;
using tvservice::DescriptorLoop;

namespace {
constexpr size_t kFixedSize = 3;        // original_network_id, reserved
constexpr size_t kServiceHeadSize = 5;  // service_id to descriptors_loop_length
}  // namespace

struct TCDVBSDTItemService::Impl {
    ByteView head;  // of the section that the sub-table holds
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

struct TCDVBSDTInstance::Impl {
    uint16_t onid;
    uint16_t tsid;
    tvservice::ItemLoop<TCDVBSDTItemService> services = {};

    // ETSI EN 300 468 5.2.3: what follows the section's header.
    void Take(uint8_t sectionNumber, ByteView body, uint8_t tableId) {
        std::vector<std::unique_ptr<TCDVBSDTItemService>> items;
        tvservice::EntryReader reader(body.Subview(kFixedSize), kServiceHeadSize);
        while (reader.Next()) {
            items.push_back(TVServiceInternals::Make<TCDVBSDTItemService>(
                reader.head(), DescriptorLoop(reader.descriptors(), tableId)));
        }
        services.Put(sectionNumber, std::move(items));
    }
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
    return m_impl->services.size();
}

TCDVBSDTItemService* TCDVBSDTInstance::DVBSDTItemServiceOfIndex(unsigned int index) {
    return m_impl->services.At(index);
}

TCDVBSDTItemService* TCDVBSDTInstance::DVBSDTItemServiceBySID(unsigned short serviceId) {
    const auto& all = m_impl->services.all();
    const auto found =
        std::find_if(all.begin(), all.end(), [serviceId](const TCDVBSDTItemService* service) {
            return service->ServiceId() == serviceId;
        });
    return found == all.end() ? nullptr : *found;
}

struct TCDVBSDTParser::Impl {
    uint8_t tableId;
    std::vector<std::unique_ptr<TCDVBSDTInstance>> instances;  // in the order in which they began

    TCDVBSDTInstance* Find(uint16_t onid, uint16_t tsid) const {
        const auto found =
            std::find_if(instances.begin(), instances.end(), [onid, tsid](const auto& instance) {
                return instance->OriginalNetworkId() == onid &&
                       instance->TransportStreamId() == tsid;
            });
        return found == instances.end() ? nullptr : found->get();
    }
};

TCDVBSDTParser::TCDVBSDTParser(int tableId, TVSHandle const&)
    : m_impl(new Impl{static_cast<uint8_t>(tableId), {}}) {}

TCDVBSDTParser::~TCDVBSDTParser() = default;

bool TCDVBSDTParser::Parse(short, unsigned char* bytes) {
    const auto section = tvservice::ApplicableSection(bytes, m_impl->tableId, m_impl->tableId);
    if (!section || section->body().size() < kFixedSize) {
        return false;
    }
    const uint16_t tsid = section->table_id_extension();
    const uint16_t onid = section->body().U16(0);
    TCDVBSDTInstance* instance = m_impl->Find(onid, tsid);
    if (instance == nullptr) {
        m_impl->instances.push_back(TVServiceInternals::Make<TCDVBSDTInstance>(onid, tsid));
        instance = m_impl->instances.back().get();
    }
    auto& content = TVServiceInternals::Of(*instance);
    const auto held =
        tvservice::StoreIfNew(TVServiceInternals::Of<TCBaseSection>(*instance).sections, *section,
                              [&content] { content.services.Clear(); });
    if (held) {
        content.Take(held->section_number(), held->body(), m_impl->tableId);
    }
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = tsid;
    return true;
}

void TCDVBSDTParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.clear();
}

TCDVBSDTInstance* TCDVBSDTParser::DVBSDTInstance(unsigned short originalNetworkId,
                                                 unsigned short transportStreamId) {
    return m_impl->Find(originalNetworkId, transportStreamId);
}

TCDVBSDTInstance* TCDVBSDTParser::DVBSDTFirstInstance() {
    return m_impl->instances.empty() ? nullptr : m_impl->instances.front().get();
}
