#include <cstdint>
#include <list>
#include <memory>

#include "platform/TCDVBNITParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/NetworkTable.h"
#include "softplatform/table/SectionParser.h"
#include "softplatform/table/SubTables.h"

using tvservice::NetworkTable;

struct TCDVBNITInstance::Impl : NetworkTable {};

TCDVBNITInstance::TCDVBNITInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCDVBNITInstance::~TCDVBNITInstance() = default;

unsigned short TCDVBNITInstance::NetworkId() {
    return m_impl->id;
}

unsigned char TCDVBNITInstance::NitAttribute() const {
    return m_impl->tableId;
}

unsigned char TCDVBNITInstance::TableAttribute() const {
    return VersionNumber();
}

int TCDVBNITInstance::NumOfDescriptors(int tag) {
    return m_impl->loop.Count(tag);
}

TCBaseDesc* TCDVBNITInstance::Descriptor(int tag, unsigned int index) {
    return m_impl->loop.Find(tag, index);
}

int TCDVBNITInstance::NumOfDescriptors() {
    return m_impl->loop.size();
}

TCBaseDesc* TCDVBNITInstance::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

int TCDVBNITInstance::NumOfDVBItemMux() {
    return static_cast<int>(m_impl->muxes.size());
}

TCDVBItemMux* TCDVBNITInstance::DVBItemMuxOfIndex(unsigned int index) {
    return m_impl->muxes.At(index);
}

struct TCDVBNITParser::Impl {
    uint8_t tableId;
    tvservice::SubTables<uint16_t, TCDVBNITInstance> instances;  // by network_id
};

TCDVBNITParser::TCDVBNITParser(int tableId, const TVSHandle&)
    : m_impl(new Impl{static_cast<uint8_t>(tableId), {}}) {}

TCDVBNITParser::~TCDVBNITParser() = default;

bool TCDVBNITParser::Parse(short, unsigned char* bytes) {
    const auto section = tvservice::ApplicableSection(bytes, m_impl->tableId, m_impl->tableId,
                                                      NetworkTable::kFixedSize);
    if (!section) {
        return false;
    }
    const uint16_t id = section->table_id_extension();
    if (!m_impl->instances.Take(id, *section, [&] {
            return TVServiceInternals::Make<TCDVBNITInstance>(
                NetworkTable{id, m_impl->tableId, {}, {}});
        })) {
        return false;
    }
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = id;
    return true;
}

void TCDVBNITParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.Clear();
}

void TCDVBNITParser::NetworkIds(std::list<unsigned short>& networkIds) {
    for (const auto& instance : m_impl->instances.all()) {
        networkIds.push_back(instance.first);
    }
}

TCDVBNITInstance* TCDVBNITParser::GetInstance(unsigned short networkId) {
    return m_impl->instances.Find(networkId);
}
