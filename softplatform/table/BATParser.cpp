#include <algorithm>
#include <cstdint>
#include <list>
#include <map>
#include <memory>

#include "platform/TCDVBBATParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/BaseSection.h"
#include "softplatform/table/NetworkTable.h"
#include "softplatform/table/SectionParser.h"

using tvservice::NetworkTable;

namespace {
constexpr uint8_t kBatTableId = 0x4A;
}

struct TCDVBBATInstance::Impl {
    NetworkTable table;
};

TCDVBBATInstance::TCDVBBATInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBBATInstance::~TCDVBBATInstance() = default;

unsigned short TCDVBBATInstance::BouquetId() {
    return m_impl->table.id;
}

unsigned char TCDVBBATInstance::TableAttribute() const {
    return VersionNumber();
}

int TCDVBBATInstance::NumOfDescriptors(int tag) {
    return m_impl->table.loop.Count(tag);
}

TCBaseDesc* TCDVBBATInstance::Descriptor(int tag, unsigned int index) {
    return m_impl->table.loop.Find(tag, index);
}

int TCDVBBATInstance::NumOfDescriptors() {
    return m_impl->table.loop.size();
}

TCBaseDesc* TCDVBBATInstance::DescriptorByIndex(unsigned int index) {
    return m_impl->table.loop.At(index);
}

int TCDVBBATInstance::NumOfDVBItemMux() {
    return m_impl->table.muxes.size();
}

TCDVBItemMux* TCDVBBATInstance::DVBItemMuxOfIndex(unsigned int index) {
    return m_impl->table.muxes.At(index);
}

struct TCDVBBATParser::Impl {
    std::map<uint16_t, std::unique_ptr<TCDVBBATInstance>> instances;  // by bouquet_id
};

TCDVBBATParser::TCDVBBATParser(const TVSHandle&) : m_impl(std::make_unique<Impl>()) {}

TCDVBBATParser::~TCDVBBATParser() = default;

bool TCDVBBATParser::Parse(short, unsigned char* bytes) {
    const auto section = tvservice::ApplicableSection(bytes, kBatTableId, kBatTableId);
    if (!section || section->body().size() < NetworkTable::kFixedSize) {
        return false;
    }
    const uint16_t id = section->table_id_extension();
    std::unique_ptr<TCDVBBATInstance>& instance = m_impl->instances[id];
    if (!instance) {
        instance =
            TVServiceInternals::Make<TCDVBBATInstance>(NetworkTable{id, kBatTableId, {}, {}});
    }
    NetworkTable& table = TVServiceInternals::Of(*instance).table;
    const auto held =
        tvservice::StoreIfNew(TVServiceInternals::Of<TCBaseSection>(*instance).sections, *section,
                              [&table] { table.Clear(); });
    if (held) {
        table.Take(held->section_number(), held->body());
    }
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = id;
    return true;
}

void TCDVBBATParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.clear();
}

void TCDVBBATParser::BouquetIds(std::list<unsigned short>& bouquetIds) {
    for (const auto& instance : m_impl->instances) {
        bouquetIds.push_back(instance.first);
    }
}

TCDVBBATInstance* TCDVBBATParser::GetInstance(unsigned short bouquetId) {
    const auto found = m_impl->instances.find(bouquetId);
    return found == m_impl->instances.end() ? nullptr : found->second.get();
}

bool TCDVBBATParser::AllSubtablesReceived() {
    return !m_impl->instances.empty() &&
           std::all_of(m_impl->instances.begin(), m_impl->instances.end(),
                       [](const auto& instance) { return instance.second->IsValid(); });
}
