#include <cstdint>
#include <list>
#include <map>
#include <memory>

#include "platform/TCDVBNITParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/BaseSection.h"
#include "softplatform/table/NetworkTable.h"
#include "softplatform/table/SectionParser.h"

using tvservice::NetworkTable;

struct TCDVBNITInstance::Impl {
    NetworkTable table;
};

TCDVBNITInstance::TCDVBNITInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBNITInstance::~TCDVBNITInstance() = default;

unsigned short TCDVBNITInstance::NetworkId() {
    return m_impl->table.id;
}

unsigned char TCDVBNITInstance::NitAttribute() const {
    return m_impl->table.tableId;
}

unsigned char TCDVBNITInstance::TableAttribute() const {
    return VersionNumber();
}

int TCDVBNITInstance::NumOfDescriptors(int tag) {
    return m_impl->table.loop.Count(tag);
}

TCBaseDesc* TCDVBNITInstance::Descriptor(int tag, unsigned int index) {
    return m_impl->table.loop.Find(tag, index);
}

int TCDVBNITInstance::NumOfDescriptors() {
    return m_impl->table.loop.size();
}

TCBaseDesc* TCDVBNITInstance::DescriptorByIndex(unsigned int index) {
    return m_impl->table.loop.At(index);
}

int TCDVBNITInstance::NumOfDVBItemMux() {
    return m_impl->table.muxes.size();
}

TCDVBItemMux* TCDVBNITInstance::DVBItemMuxOfIndex(unsigned int index) {
    return m_impl->table.muxes.At(index);
}

struct TCDVBNITParser::Impl {
    uint8_t tableId;
    std::map<uint16_t, std::unique_ptr<TCDVBNITInstance>> instances;  // by network_id
};

TCDVBNITParser::TCDVBNITParser(int tableId, const TVSHandle&)
    : m_impl(new Impl{static_cast<uint8_t>(tableId), {}}) {}

TCDVBNITParser::~TCDVBNITParser() = default;

bool TCDVBNITParser::Parse(short, unsigned char* bytes) {
    const auto section = tvservice::ApplicableSection(bytes, m_impl->tableId, m_impl->tableId);
    if (!section || section->body().size() < NetworkTable::kFixedSize) {
        return false;
    }
    const uint16_t id = section->table_id_extension();
    std::unique_ptr<TCDVBNITInstance>& instance = m_impl->instances[id];
    if (!instance) {
        instance =
            TVServiceInternals::Make<TCDVBNITInstance>(NetworkTable{id, m_impl->tableId, {}, {}});
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

void TCDVBNITParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.clear();
}

void TCDVBNITParser::NetworkIds(std::list<unsigned short>& networkIds) {
    for (const auto& instance : m_impl->instances) {
        networkIds.push_back(instance.first);
    }
}

TCDVBNITInstance* TCDVBNITParser::GetInstance(unsigned short networkId) {
    const auto found = m_impl->instances.find(networkId);
    return found == m_impl->instances.end() ? nullptr : found->second.get();
}
