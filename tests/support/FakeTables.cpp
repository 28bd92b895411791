#include "tests/support/FakeTables.h"

#include <gtest/gtest.h>

#include "platform/IDescriptorContainer.h"
#include "platform/TCBaseSection.h"
#include "platform/TCDVBBATParser.h"
#include "platform/TCDVBCATParser.h"
#include "platform/TCDVBEITParser.h"
#include "platform/TCDVBItemMux.h"
#include "platform/TCDVBNITParser.h"
#include "platform/TCDVBSDTParser.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "platform/TCPATParser.h"
#include "platform/TCPMTParser.h"
#include "platform/TCSectionParser.h"
#include "platform/TVSHandle.h"
#include "tests/support/FakeInternals.h"
#include "tests/support/FakePlatform.h"

struct TCBaseSection::Impl {
    const bool* valid = nullptr;
};
struct TCSectionParser::Impl {};
struct TCPATParser::Impl {};
struct TCPMTParser::Impl {};
struct TCDVBCATParser::Impl {};
struct TCDVBSDTParser::Impl {};
struct TCDVBEITParser::Impl {};
struct TCDVBNITParser::Impl {};
struct TCDVBBATParser::Impl {};
struct TCPMTElementary::Impl {
    std::shared_ptr<fake::StreamScript> script;
};
struct TCPMTInstance::Impl {
    std::shared_ptr<fake::PmtScript> script;
};
struct TCDVBSDTItemService::Impl {
    std::shared_ptr<fake::ServiceScript> script;
};
struct TCDVBSDTInstance::Impl {
    std::shared_ptr<fake::SdtScript> script;
};
struct TCDVBItemMux::Impl {
    std::shared_ptr<fake::MuxScript> script;
};
struct TCDVBNITInstance::Impl {
    std::shared_ptr<fake::NetworkScript> script;
};
struct TCDVBBATInstance::Impl {
    std::shared_ptr<fake::NetworkScript> script;
};
struct TCDVBEITInstance::Impl {};
struct TCDVBEITItemEvent::Impl {
    fake::Bytes loop;
};
struct TCDVBEITItem::Impl {
    std::vector<std::unique_ptr<TCDVBEITItemEvent>> events;
};
struct TCDescriptor::Impl {};
struct TCDescriptorHash::Impl {
    fake::Loop* loop = nullptr;
};

namespace fake {

Loop& Loop::Add(std::shared_ptr<TCBaseDesc> desc) {
    const int tag = desc->Tag();
    entries.push_back({tag, std::move(desc)});
    return *this;
}

Loop& Loop::AddMissing(int tag) {
    entries.push_back({tag, nullptr});
    return *this;
}

StreamScript& PmtScript::AddStream(unsigned char streamType, unsigned short pid) {
    streams.push_back(std::make_shared<StreamScript>(StreamScript{streamType, pid, {}}));
    return *streams.back();
}

ServiceScript& SdtScript::AddService(unsigned short sid) {
    services.push_back(std::make_shared<ServiceScript>(ServiceScript{sid, {}}));
    return *services.back();
}

MuxScript& NetworkScript::AddMux(unsigned short onid, unsigned short tsid) {
    muxes.push_back(std::make_shared<MuxScript>(MuxScript{onid, tsid, {}}));
    return *muxes.back();
}

Tables& TheTables() {
    static auto& tables = *new std::unique_ptr<Tables>(std::make_unique<Tables>());
    return *tables;
}

namespace {

std::vector<std::function<void()>>& Undo() {
    static auto& undo = *new std::vector<std::function<void()>>;
    return undo;
}

// Returns the platform object over a script. It exists until the scripts are reset.
template <class Object, class Script>
Object* Over(const std::shared_ptr<Script>& script) {
    static auto& made = *new std::map<const Script*, std::unique_ptr<Object>>;
    if (!script) {
        return nullptr;
    }
    if (made.empty()) {
        Undo().push_back([] { made.clear(); });
    }
    std::unique_ptr<Object>& object = made[script.get()];
    if (!object) {
        object = TVServiceInternals::Make<Object>(script);
    }
    return object.get();
}

template <class Key, class Script>
std::shared_ptr<Script> Find(const std::map<Key, std::shared_ptr<Script>>& scripts, Key key) {
    const auto found = scripts.find(key);
    return found == scripts.end() ? nullptr : found->second;
}

template <class Script>
std::shared_ptr<Script> At(const std::vector<std::shared_ptr<Script>>& scripts,
                           unsigned int index) {
    return index < scripts.size() ? scripts[index] : nullptr;
}

int Count(Loop& loop) {
    ++loop.countsAsked;
    if (loop.duringCount) {
        loop.duringCount(loop);
    }
    return static_cast<int>(loop.entries.size());
}

int Count(Loop& loop, int tag) {
    Count(loop);
    int count = 0;
    for (const Loop::Entry& entry : loop.entries) {
        count += entry.tag == tag ? 1 : 0;
    }
    return count;
}

TCBaseDesc* Get(const Loop& loop, unsigned int index) {
    return index < loop.entries.size() ? loop.entries[index].desc.get() : nullptr;
}

TCBaseDesc* Get(const Loop& loop, int tag, unsigned int index) {
    for (const Loop::Entry& entry : loop.entries) {
        if (entry.tag == tag && index-- == 0) {
            return entry.desc.get();
        }
    }
    return nullptr;
}

void Construct(TableScript& script, TVSHandle const& handle, int tableId = -1) {
    ++script.constructed;
    script.tableId = tableId;
    script.access = handle.m_access;
    script.instance = handle.m_instance;
}

void Destroy(TableScript& script) {
    if (script.duringDestruction) {
        script.duringDestruction();
    }
    ++script.destroyed;
}

bool Take(TableScript& script, short pid, unsigned char* section) {
    script.parsed.emplace_back(pid, section);
    if (script.duringParse) {
        script.duringParse();
    }
    return script.accepts;
}

}  // namespace

void ResetTables() {
    for (const auto& undo : Undo()) {
        undo();
    }
    Undo().clear();
    TheTables() = Tables();
}

PmtScript& PmtTable::AddProgram(unsigned short number) {
    programs[number] = std::make_shared<PmtScript>();
    byIndex.push_back(programs[number]);
    return *programs[number];
}

SdtScript& SdtTable::AddSubTable(unsigned short onid, unsigned short tsid) {
    subTables.push_back(std::make_shared<SdtScript>());
    subTables.back()->onid = onid;
    subTables.back()->tsid = tsid;
    return *subTables.back();
}

NetworkScript& NitTable::AddNetwork(unsigned short id) {
    networks[id] = std::make_shared<NetworkScript>();
    networks[id]->id = id;
    return *networks[id];
}

NetworkScript& BatTable::AddBouquet(unsigned short id) {
    bouquets[id] = std::make_shared<NetworkScript>();
    bouquets[id]->id = id;
    return *bouquets[id];
}

}  // namespace fake

using fake::TheTables;

// --- Bases

TCBaseSection::TCBaseSection() : m_impl(std::make_unique<Impl>()) {}
TCBaseSection::~TCBaseSection() = default;
bool TCBaseSection::IsValid() {
    return m_impl->valid != nullptr && *m_impl->valid;
}
unsigned char TCBaseSection::VersionNumber() const {
    return 0;
}

TCSectionParser::TCSectionParser() = default;
TCSectionParser::~TCSectionParser() = default;
bool TCSectionParser::Parse(short, unsigned char*) {
    return false;
}
void TCSectionParser::Reset() {}
unsigned short TCSectionParser::TableIdExt() {
    return TheTables().bat.tableIdExt;
}

IDescriptorContainer::~IDescriptorContainer() = default;

// --- PAT

TCPATParser::TCPATParser(TVSHandle const& handle) {
    fake::PatScript& pat = fake::FakePlatform::Get().pat;
    ++pat.constructed;
    pat.access = handle.m_access;
    pat.instance = handle.m_instance;
    TVServiceInternals::Of<TCBaseSection>(*this).valid = &pat.valid;
}
TCPATParser::~TCPATParser() {
    ++fake::FakePlatform::Get().pat.destroyed;
}
bool TCPATParser::Parse(short pid, unsigned char* section) {
    fake::PatScript& pat = fake::FakePlatform::Get().pat;
    pat.parsed.emplace_back(pid, section);
    return pat.accepts;
}
void TCPATParser::Reset() {
    ++fake::FakePlatform::Get().pat.resets;
}
int TCPATParser::NumOfProgramList() {
    fake::PatScript& pat = fake::FakePlatform::Get().pat;
    ++pat.countsAsked;
    return static_cast<int>(pat.programs.size());
}
unsigned short TCPATParser::ProgramNumber(unsigned int index) {
    return fake::FakePlatform::Get().pat.programs.at(index).first;
}
unsigned short TCPATParser::ProgramPID(unsigned short programNumber) {
    fake::PatScript& pat = fake::FakePlatform::Get().pat;
    pat.pidsAskedFor.push_back(programNumber);
    for (const auto& [number, pid] : pat.programs) {
        if (number == programNumber) {
            return pid;
        }
    }
    return 0;
}
unsigned short TCPATParser::TransportStreamId() const {
    return fake::FakePlatform::Get().pat.transportStreamId;
}

// --- PMT

TCPMTElementary::TCPMTElementary(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
TCPMTElementary::~TCPMTElementary() = default;
unsigned short TCPMTElementary::ElementaryPID() {
    return m_impl->script->pid;
}
unsigned char TCPMTElementary::StreamType() {
    return m_impl->script->streamType;
}
int TCPMTElementary::NumOfDescriptors(int tag) {
    return fake::Count(m_impl->script->loop, tag);
}
TCBaseDesc* TCPMTElementary::Descriptor(int tag, unsigned int index) {
    return fake::Get(m_impl->script->loop, tag, index);
}

TCPMTInstance::TCPMTInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {
    TVServiceInternals::Of<TCBaseSection>(*this).valid = &m_impl->script->valid;
}
TCPMTInstance::~TCPMTInstance() = default;
int TCPMTInstance::NumOfElementary() {
    return static_cast<int>(m_impl->script->streams.size());
}
TCPMTElementary* TCPMTInstance::PMTElementary(unsigned int index) {
    return fake::Over<TCPMTElementary>(fake::At(m_impl->script->streams, index));
}
int TCPMTInstance::NumOfDescriptors(int tag) {
    return fake::Count(m_impl->script->loop, tag);
}
TCBaseDesc* TCPMTInstance::Descriptor(int tag, unsigned int index) {
    return fake::Get(m_impl->script->loop, tag, index);
}

TCPMTParser::TCPMTParser(TVSHandle const& handle) {
    fake::Construct(TheTables().pmt, handle);
}
TCPMTParser::~TCPMTParser() {
    fake::Destroy(TheTables().pmt);
}
bool TCPMTParser::Parse(short pid, unsigned char* section) {
    return fake::Take(TheTables().pmt, pid, section);
}
void TCPMTParser::Reset() {
    ++TheTables().pmt.resets;
}
unsigned short TCPMTParser::ProgramNumber() const {
    return TheTables().pmt.programNumber;
}
TCPMTInstance* TCPMTParser::PMTInstance(unsigned short programNumber) {
    TheTables().pmt.asked.push_back(programNumber);
    return fake::Over<TCPMTInstance>(fake::Find(TheTables().pmt.programs, programNumber));
}
int TCPMTParser::NumOfPMTInstance() {
    return static_cast<int>(TheTables().pmt.byIndex.size());
}
TCPMTInstance* TCPMTParser::PMTInstanceOfIndex(unsigned int index) {
    return fake::Over<TCPMTInstance>(fake::At(TheTables().pmt.byIndex, index));
}

// --- CAT

TCDVBCATParser::TCDVBCATParser(TVSHandle const& handle) {
    fake::Construct(TheTables().cat, handle);
    TVServiceInternals::Of<TCBaseSection>(*this).valid = &TheTables().cat.valid;
}
TCDVBCATParser::~TCDVBCATParser() {
    fake::Destroy(TheTables().cat);
}
bool TCDVBCATParser::Parse(short pid, unsigned char* section) {
    return fake::Take(TheTables().cat, pid, section);
}
void TCDVBCATParser::Reset() {
    ++TheTables().cat.resets;
}
int TCDVBCATParser::NumOfDescriptors(int tag) {
    return fake::Count(TheTables().cat.loop, tag);
}
TCBaseDesc* TCDVBCATParser::Descriptor(int tag, unsigned int index) {
    return fake::Get(TheTables().cat.loop, tag, index);
}

// --- SDT

TCDVBSDTItemService::TCDVBSDTItemService(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
TCDVBSDTItemService::~TCDVBSDTItemService() = default;
unsigned short TCDVBSDTItemService::ServiceId() const {
    return m_impl->script->sid;
}
int TCDVBSDTItemService::NumOfDescriptors() {
    return fake::Count(m_impl->script->loop);
}
TCBaseDesc* TCDVBSDTItemService::DescriptorByIndex(unsigned int index) {
    return fake::Get(m_impl->script->loop, index);
}

TCDVBSDTInstance::TCDVBSDTInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {
    TVServiceInternals::Of<TCBaseSection>(*this).valid = &m_impl->script->valid;
}
TCDVBSDTInstance::~TCDVBSDTInstance() = default;
unsigned short TCDVBSDTInstance::OriginalNetworkId() const {
    return m_impl->script->onid;
}
unsigned short TCDVBSDTInstance::TransportStreamId() const {
    return m_impl->script->tsid;
}
int TCDVBSDTInstance::NumOfDVBSDTItemService() {
    return static_cast<int>(m_impl->script->services.size());
}
TCDVBSDTItemService* TCDVBSDTInstance::DVBSDTItemServiceOfIndex(unsigned int index) {
    return fake::Over<TCDVBSDTItemService>(fake::At(m_impl->script->services, index));
}
TCDVBSDTItemService* TCDVBSDTInstance::DVBSDTItemServiceBySID(unsigned short serviceId) {
    TheTables().sdt.sidsAsked.push_back(serviceId);
    for (const auto& service : m_impl->script->services) {
        if (service && service->sid == serviceId) {
            return fake::Over<TCDVBSDTItemService>(service);
        }
    }
    return nullptr;
}

TCDVBSDTParser::TCDVBSDTParser(int tableId, TVSHandle const& handle) {
    fake::Construct(TheTables().sdt, handle, tableId);
}
TCDVBSDTParser::~TCDVBSDTParser() {
    fake::Destroy(TheTables().sdt);
}
bool TCDVBSDTParser::Parse(short pid, unsigned char* section) {
    return fake::Take(TheTables().sdt, pid, section);
}
void TCDVBSDTParser::Reset() {
    ++TheTables().sdt.resets;
}
TCDVBSDTInstance* TCDVBSDTParser::DVBSDTInstance(unsigned short originalNetworkId,
                                                 unsigned short transportStreamId) {
    for (const auto& subTable : TheTables().sdt.subTables) {
        if (subTable->onid == originalNetworkId && subTable->tsid == transportStreamId) {
            return fake::Over<TCDVBSDTInstance>(subTable);
        }
    }
    return nullptr;
}
TCDVBSDTInstance* TCDVBSDTParser::DVBSDTFirstInstance() {
    return fake::Over<TCDVBSDTInstance>(fake::At(TheTables().sdt.subTables, 0));
}

// --- EIT

TCDVBEITItemEvent::TCDVBEITItemEvent(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
TCDVBEITItemEvent::~TCDVBEITItemEvent() = default;
unsigned char* TCDVBEITItemEvent::DescriptorLoop() const {
    return m_impl->loop.data();
}
int TCDVBEITItemEvent::DescriptorLoopLength() const {
    return static_cast<int>(m_impl->loop.size());
}

TCDVBEITItem::TCDVBEITItem(int serviceId, unsigned short transportStreamId,
                           unsigned short originalNetworkId, TVSHandle const& handle)
    : m_impl(std::make_unique<Impl>()) {
    ++TheTables().eit.livingItems;
    TheTables().eit.itemsMade.push_back(
        {serviceId, transportStreamId, originalNetworkId, handle.m_access, handle.m_instance});
}
TCDVBEITItem::~TCDVBEITItem() {
    --TheTables().eit.livingItems;
}
bool TCDVBEITItem::m_Parse(unsigned char* section, int length, int tableId) {
    TheTables().eit.itemsParsed.push_back({section, {length, tableId}});
    for (const fake::EventScript& event : TheTables().eit.events) {
        m_impl->events.push_back(TVServiceInternals::Make<TCDVBEITItemEvent>(event.loop));
    }
    return TheTables().eit.itemParses.value_or(!m_impl->events.empty());
}
TCDVBEITItemEvent* TCDVBEITItem::DVBEITItemEvent(unsigned int index) {
    return index < m_impl->events.size() ? m_impl->events[index].get() : nullptr;
}

TCDVBEITInstance::TCDVBEITInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
TCDVBEITInstance::~TCDVBEITInstance() = default;

TCDVBEITParser::TCDVBEITParser(int tableId, TVSHandle const& handle) {
    fake::Construct(TheTables().eit, handle, tableId);
}
TCDVBEITParser::~TCDVBEITParser() {
    fake::Destroy(TheTables().eit);
}
bool TCDVBEITParser::Parse(short pid, unsigned char* section) {
    return fake::Take(TheTables().eit, pid, section);
}
void TCDVBEITParser::Reset() {
    ++TheTables().eit.resets;
}
TCDVBEITInstance* TCDVBEITParser::EITInstance(TCServiceKey key) {
    TheTables().eit.keysAsked.push_back(
        {key.m_originalNetworkId, key.m_transportStreamId, key.m_serviceId});
    static TCDVBEITInstance& instance = *TVServiceInternals::Make<TCDVBEITInstance>().release();
    return TheTables().eit.hasInstance ? &instance : nullptr;
}
unsigned char* TCDVBEITParser::Section() const {
    return TheTables().eit.section.data();
}
int TCDVBEITParser::SectionLength() const {
    return TheTables().eit.sectionLength;
}

TCDescriptor::TCDescriptor(TVSHandle const& handle) {
    EXPECT_EQ(handle.m_access, 1);
    EXPECT_EQ(handle.m_instance, 0);
}
TCDescriptor::~TCDescriptor() = default;
void TCDescriptor::Parse(unsigned char* loop, int length, TCDescriptorHash& hash,
                         unsigned char tableId) {
    TheTables().eit.loopsParsed.push_back({length, tableId});
    TheTables().eit.loopBytes.emplace_back(loop, loop + length);
    TVServiceInternals::Of(hash).loop = &TheTables().eit.loop;
}

TCDescriptorHash::TCDescriptorHash() : m_impl(std::make_unique<Impl>()) {}
TCDescriptorHash::~TCDescriptorHash() = default;
int TCDescriptorHash::NumOfDescriptors() {
    return fake::Count(*m_impl->loop);
}
TCBaseDesc* TCDescriptorHash::DescriptorByIndex(unsigned int index) {
    return fake::Get(*m_impl->loop, index);
}

// --- NIT

TCDVBItemMux::TCDVBItemMux(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
TCDVBItemMux::~TCDVBItemMux() = default;
unsigned short TCDVBItemMux::TransportStreamId() const {
    return m_impl->script->tsid;
}
unsigned short TCDVBItemMux::OriginalNetworkId() const {
    return m_impl->script->onid;
}
int TCDVBItemMux::NumOfDescriptors() {
    return fake::Count(m_impl->script->loop);
}
TCBaseDesc* TCDVBItemMux::DescriptorByIndex(unsigned int index) {
    return fake::Get(m_impl->script->loop, index);
}

TCDVBNITInstance::TCDVBNITInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {
    TVServiceInternals::Of<TCBaseSection>(*this).valid = &m_impl->script->valid;
}
TCDVBNITInstance::~TCDVBNITInstance() = default;
unsigned short TCDVBNITInstance::NetworkId() {
    return m_impl->script->id;
}
unsigned char TCDVBNITInstance::NitAttribute() const {
    return m_impl->script->nitAttribute;
}
unsigned char TCDVBNITInstance::TableAttribute() const {
    return m_impl->script->tableAttribute;
}
int TCDVBNITInstance::NumOfDescriptors(int tag) {
    return fake::Count(m_impl->script->loop, tag);
}
TCBaseDesc* TCDVBNITInstance::Descriptor(int tag, unsigned int index) {
    return fake::Get(m_impl->script->loop, tag, index);
}
int TCDVBNITInstance::NumOfDVBItemMux() {
    return m_impl->script->muxCount.value_or(static_cast<int>(m_impl->script->muxes.size()));
}
TCDVBItemMux* TCDVBNITInstance::DVBItemMuxOfIndex(unsigned int index) {
    return fake::Over<TCDVBItemMux>(fake::At(m_impl->script->muxes, index));
}

TCDVBNITParser::TCDVBNITParser(int tableId, const TVSHandle& handle) {
    fake::Construct(TheTables().nit, handle, tableId);
}
TCDVBNITParser::~TCDVBNITParser() {
    fake::Destroy(TheTables().nit);
}
bool TCDVBNITParser::Parse(short pid, unsigned char* section) {
    return fake::Take(TheTables().nit, pid, section);
}
void TCDVBNITParser::Reset() {
    ++TheTables().nit.resets;
}
void TCDVBNITParser::NetworkIds(std::list<unsigned short>& networkIds) {
    for (const auto& network : TheTables().nit.networks) {
        networkIds.push_back(network.first);
    }
}
TCDVBNITInstance* TCDVBNITParser::GetInstance(unsigned short networkId) {
    return fake::Over<TCDVBNITInstance>(fake::Find(TheTables().nit.networks, networkId));
}

// --- BAT

TCDVBBATInstance::TCDVBBATInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {
    TVServiceInternals::Of<TCBaseSection>(*this).valid = &m_impl->script->valid;
}
TCDVBBATInstance::~TCDVBBATInstance() = default;
unsigned short TCDVBBATInstance::BouquetId() {
    return m_impl->script->id;
}
unsigned char TCDVBBATInstance::TableAttribute() const {
    return m_impl->script->tableAttribute;
}
int TCDVBBATInstance::NumOfDescriptors(int tag) {
    return fake::Count(m_impl->script->loop, tag);
}
TCBaseDesc* TCDVBBATInstance::Descriptor(int tag, unsigned int index) {
    return fake::Get(m_impl->script->loop, tag, index);
}

TCDVBBATParser::TCDVBBATParser(const TVSHandle& handle) {
    fake::Construct(TheTables().bat, handle);
}
TCDVBBATParser::~TCDVBBATParser() {
    fake::Destroy(TheTables().bat);
}
bool TCDVBBATParser::Parse(short pid, unsigned char* section) {
    return fake::Take(TheTables().bat, pid, section);
}
void TCDVBBATParser::Reset() {
    ++TheTables().bat.resets;
}
void TCDVBBATParser::BouquetIds(std::list<unsigned short>& bouquetIds) {
    for (const auto& bouquet : TheTables().bat.bouquets) {
        bouquetIds.push_back(bouquet.first);
    }
}
TCDVBBATInstance* TCDVBBATParser::GetInstance(unsigned short bouquetId) {
    return fake::Over<TCDVBBATInstance>(fake::Find(TheTables().bat.bouquets, bouquetId));
}
bool TCDVBBATParser::AllSubtablesReceived() {
    return TheTables().bat.allReceived;
}
