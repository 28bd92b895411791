#include <algorithm>
#include <cstdint>
#include <list>
#include <memory>

#include "platform/TCDVBBATParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/NetworkTable.h"
#include "softplatform/table/SectionParser.h"
#include "softplatform/table/SubTables.h"

using tvservice::NetworkTable;

namespace {
constexpr uint8_t kBatTableId = 0x4A;
}

struct TCDVBBATInstance::Impl : NetworkTable {};

TCDVBBATInstance::TCDVBBATInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBBATInstance::~TCDVBBATInstance() = default;

unsigned short TCDVBBATInstance::BouquetId() {
    return m_impl->id;
}

unsigned char TCDVBBATInstance::TableAttribute() const {
    return VersionNumber();
}

int TCDVBBATInstance::NumOfDescriptors(int tag) {
    return m_impl->loop.Count(tag);
}

TCBaseDesc* TCDVBBATInstance::Descriptor(int tag, unsigned int index) {
    return m_impl->loop.Find(tag, index);
}

int TCDVBBATInstance::NumOfDescriptors() {
    return m_impl->loop.size();
}

TCBaseDesc* TCDVBBATInstance::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

int TCDVBBATInstance::NumOfDVBItemMux() {
    return static_cast<int>(m_impl->muxes.size());
}

TCDVBItemMux* TCDVBBATInstance::DVBItemMuxOfIndex(unsigned int index) {
    return m_impl->muxes.At(index);
}

struct TCDVBBATParser::Impl {
    tvservice::SubTables<uint16_t, TCDVBBATInstance> instances;  // by bouquet_id
};

TCDVBBATParser::TCDVBBATParser(const TVSHandle&) : m_impl(std::make_unique<Impl>()) {}

TCDVBBATParser::~TCDVBBATParser() = default;

bool TCDVBBATParser::Parse(short, unsigned char* bytes) {
    const auto section =
        tvservice::ApplicableSection(bytes, kBatTableId, kBatTableId, NetworkTable::kFixedSize);
    if (!section) {
        return false;
    }
    const uint16_t id = section->table_id_extension();
    if (!m_impl->instances.Take(id, *section, [&] {
            return TVServiceInternals::Make<TCDVBBATInstance>(
                NetworkTable{id, kBatTableId, {}, {}});
        })) {
        return false;
    }
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = id;
    return true;
}

void TCDVBBATParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.Clear();
}

void TCDVBBATParser::BouquetIds(std::list<unsigned short>& bouquetIds) {
    for (const auto& instance : m_impl->instances.all()) {
        bouquetIds.push_back(instance.first);
    }
}

TCDVBBATInstance* TCDVBBATParser::GetInstance(unsigned short bouquetId) {
    return m_impl->instances.Find(bouquetId);
}

bool TCDVBBATParser::AllSubtablesReceived() {
    const auto& all = m_impl->instances.all();
    return !all.empty() && std::all_of(all.begin(), all.end(), [](const auto& instance) {
        return instance.second->IsValid();
    });
}
