#include "tests/support/FakeDescriptors.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <typeinfo>
#include <utility>

#include "platform/TCDescCA.h"
#include "platform/TCDescCableDeliverySystem.h"
#include "platform/TCDescCarouselIdentifier.h"
#include "platform/TCDescDataBroadcastId.h"
#include "platform/TCDescExtension.h"
#include "platform/TCDescLinkage.h"
#include "platform/TCDescPrivateDataSpecifier.h"
#include "platform/TCDescSatelliteDeliverySystem.h"
#include "platform/TCDescStreamIdentifier.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescTerrestrialDeliverySystem.h"
#include "tests/support/FakeInternals.h"

struct TCBaseDesc::Impl {
    unsigned short tag = 0;
    fake::Bytes bytes;
    bool isRefused = false;
    std::optional<int> copied;
    std::optional<int> length;
    const TCBaseDesc* forkedFrom = nullptr;
};

struct TCDescCA::Impl {
    unsigned short caSystemId;
};
struct TCDescStreamIdentifier::Impl {
    unsigned char componentTag;
};
struct TCDescCarouselIdentifier::Impl {
    unsigned int carouselId;
};
struct TCDescPrivateDataSpecifier::Impl {
    unsigned int specifier;
};
struct CSSUInfoLoop::Impl {
    fake::OuiEntry entry;
    std::shared_ptr<fake::OuiLoop> loop;
};
struct CSSULinkLoop::Impl {
    fake::OuiEntry entry;
    std::shared_ptr<fake::OuiLoop> loop;
};
struct TCDescDataBroadcastId::Impl {
    unsigned short id;
    std::shared_ptr<fake::OuiLoop> loop;
    std::vector<std::unique_ptr<CSSUInfoLoop>> handedOut;
};
struct TCDescLinkage::Impl {
    fake::LinkageScript script;
    std::vector<std::unique_ptr<CSSULinkLoop>> handedOut;
};
struct TCDescExtension::Impl {};
struct TCDescTerrestrialDeliverySystem::Impl {
    unsigned int frequency = 0;
};
struct TCDescCableDeliverySystem::Impl {
    unsigned int frequency = 0;
};
struct TCDescSatelliteDeliverySystem::Impl {
    unsigned int frequency = 0;
};
struct TCDescT2SystemDelivery::Impl {
    unsigned char plpId = 0;
};

namespace fake {

namespace {

std::atomic<int> s_living{0};
std::atomic<int> s_forks{0};

int CountOf(OuiLoop& loop) {
    ++loop.countsAsked;
    if (loop.duringCount) {
        loop.duringCount(loop);
    }
    return static_cast<int>(loop.entries.size());
}

int CopySelector(const OuiEntry& entry, OuiLoop& loop, char* buffer, int* length) {
    loop.capacities.push_back(*length);
    if (entry.isRefused) {
        return 0;
    }
    *length = entry.copied ? *entry.copied : static_cast<int>(entry.selector.size());
    std::copy_n(entry.selector.begin(), *length, buffer);
    return entry.answer;
}

// The first field of the three older delivery systems (ETSI EN 300 468 6.2.13), or the part of it
// that the bytes hold.
unsigned int FrequencyIn(const unsigned char* payload, int length) {
    unsigned int frequency = 0;
    for (int index = 0; index < 4 && index < length; ++index) {
        frequency = frequency << 8 | payload[index];
    }
    return frequency;
}

// Ends the program when `desc` is an object of another class. A static_cast in the SI layer made it
// a T without a check, and its answers would be garbage.
template <class T>
void CheckClass(const T& desc) {
    const TCBaseDesc& base = desc;
    if (dynamic_cast<const T*>(&base) == nullptr) {
        std::fprintf(stderr, "a descriptor of class %s is used as one of class %s\n",
                     typeid(base).name(), typeid(T).name());
        std::abort();
    }
}

template <class T>
std::shared_ptr<T> Made(unsigned short tag) {
    auto desc = std::make_shared<T>();
    TVServiceInternals::Of<TCBaseDesc>(*desc).tag = tag;
    return desc;
}

}  // namespace

ParseScript& Parsing() {
    static ParseScript& script = *new ParseScript;
    return script;
}

int LivingDescriptors() {
    return s_living;
}

int Forks() {
    return s_forks;
}

const TCBaseDesc* ForkedFrom(const TCBaseDesc& copy) {
    return TVServiceInternals::Of(copy).forkedFrom;
}

void ResetDescriptors() {
    Parsing() = ParseScript();
    s_forks = 0;
}

std::shared_ptr<TCBaseDesc> PlainDesc(unsigned short tag, Bytes bytes, bool isRefused,
                                      std::optional<int> copied) {
    auto desc = Made<TCBaseDesc>(tag);
    auto& impl = TVServiceInternals::Of(*desc);
    impl.bytes = std::move(bytes);
    impl.isRefused = isRefused;
    impl.copied = copied;
    return desc;
}

std::shared_ptr<TCBaseDesc> CADesc(unsigned short caSystemId) {
    auto desc = Made<TCDescCA>(0x09);
    TVServiceInternals::Of<TCDescCA>(*desc).caSystemId = caSystemId;
    return desc;
}

std::shared_ptr<TCBaseDesc> StreamIdentifierDesc(unsigned char componentTag) {
    auto desc = Made<TCDescStreamIdentifier>(0x52);
    TVServiceInternals::Of<TCDescStreamIdentifier>(*desc).componentTag = componentTag;
    return desc;
}

std::shared_ptr<TCBaseDesc> CarouselIdentifierDesc(unsigned int carouselId) {
    auto desc = Made<TCDescCarouselIdentifier>(0x13);
    TVServiceInternals::Of<TCDescCarouselIdentifier>(*desc).carouselId = carouselId;
    return desc;
}

std::shared_ptr<TCBaseDesc> PrivateDataSpecifierDesc(unsigned int specifier) {
    auto desc = Made<TCDescPrivateDataSpecifier>(0x5F);
    TVServiceInternals::Of<TCDescPrivateDataSpecifier>(*desc).specifier = specifier;
    return desc;
}

std::shared_ptr<TCBaseDesc> DataBroadcastIdDesc(unsigned short id, std::shared_ptr<OuiLoop> loop) {
    auto desc = Made<TCDescDataBroadcastId>(0x66);
    auto& impl = TVServiceInternals::Of<TCDescDataBroadcastId>(*desc);
    impl.id = id;
    impl.loop = std::move(loop);
    return desc;
}

std::shared_ptr<TCBaseDesc> DataBroadcastIdDesc(unsigned short id, std::vector<OuiEntry> entries) {
    auto loop = std::make_shared<OuiLoop>();
    loop->entries = std::move(entries);
    return DataBroadcastIdDesc(id, std::move(loop));
}

std::shared_ptr<TCBaseDesc> LinkageDesc(LinkageScript script) {
    auto desc = Made<TCDescLinkage>(0x4A);
    TVServiceInternals::Of<TCDescLinkage>(*desc).script = std::move(script);
    return desc;
}

}  // namespace fake

// --- TCBaseDesc

TCBaseDesc::TCBaseDesc() : m_impl(std::make_unique<Impl>()) {
    ++fake::s_living;
}
TCBaseDesc::TCBaseDesc(const TCBaseDesc& other) : m_impl(std::make_unique<Impl>(*other.m_impl)) {
    ++fake::s_living;
    ++fake::s_forks;
    m_impl->forkedFrom = &other;
}
TCBaseDesc::~TCBaseDesc() {
    --fake::s_living;
}
int TCBaseDesc::Parse(unsigned char* descriptor) {
    fake::ParseScript& script = fake::Parsing();
    script.parsed.push_back(descriptor);
    m_impl->bytes.assign(descriptor, descriptor + 2 + descriptor[1]);
    m_impl->length = script.length;
    m_impl->tag = script.tag ? *script.tag : descriptor[0];
    if (descriptor[0] == 0x7F && !script.tag) {
        m_impl->tag = static_cast<unsigned short>(0x7F00 | descriptor[2]);
    }
    Decode(descriptor + 2, descriptor[1]);
    return script.consumed ? *script.consumed : Length();
}
int TCBaseDesc::Length() {
    return m_impl->length ? *m_impl->length : static_cast<int>(m_impl->bytes.size());
}
unsigned short TCBaseDesc::Tag() const {
    return m_impl->tag;
}
int TCBaseDesc::GetDescriptor(unsigned char* buffer, int* length) {
    if (m_impl->isRefused || *length < static_cast<int>(m_impl->bytes.size())) {
        return 0;
    }
    *length = m_impl->copied ? *m_impl->copied : static_cast<int>(m_impl->bytes.size());
    std::copy_n(m_impl->bytes.begin(), *length, buffer);
    return *length;
}
TCBaseDesc* TCBaseDesc::Fork() const {
    return new TCBaseDesc(*this);
}
int TCBaseDesc::Decode(const unsigned char*, int length) {
    return length;
}

// --- The classes whose answers a test sets

TCDescCA::TCDescCA() : m_impl(std::make_unique<Impl>()) {}
TCDescCA::TCDescCA(const TCDescCA& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}
TCDescCA::~TCDescCA() = default;
unsigned short TCDescCA::CASystemId() const {
    fake::CheckClass(*this);
    return m_impl->caSystemId;
}
TCBaseDesc* TCDescCA::Fork() const {
    return new TCDescCA(*this);
}
int TCDescCA::Decode(const unsigned char*, int length) {
    return length;
}

TCDescStreamIdentifier::TCDescStreamIdentifier() : m_impl(std::make_unique<Impl>()) {}
TCDescStreamIdentifier::TCDescStreamIdentifier(const TCDescStreamIdentifier& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}
TCDescStreamIdentifier::~TCDescStreamIdentifier() = default;
unsigned char TCDescStreamIdentifier::ComponentTag() const {
    fake::CheckClass(*this);
    return m_impl->componentTag;
}
TCBaseDesc* TCDescStreamIdentifier::Fork() const {
    return new TCDescStreamIdentifier(*this);
}
int TCDescStreamIdentifier::Decode(const unsigned char*, int length) {
    return length;
}

TCDescCarouselIdentifier::TCDescCarouselIdentifier() : m_impl(std::make_unique<Impl>()) {}
TCDescCarouselIdentifier::TCDescCarouselIdentifier(const TCDescCarouselIdentifier& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}
TCDescCarouselIdentifier::~TCDescCarouselIdentifier() = default;
unsigned int TCDescCarouselIdentifier::CarouselId() const {
    fake::CheckClass(*this);
    return m_impl->carouselId;
}
TCBaseDesc* TCDescCarouselIdentifier::Fork() const {
    return new TCDescCarouselIdentifier(*this);
}
int TCDescCarouselIdentifier::Decode(const unsigned char*, int length) {
    return length;
}

TCDescPrivateDataSpecifier::TCDescPrivateDataSpecifier() : m_impl(std::make_unique<Impl>()) {}
TCDescPrivateDataSpecifier::TCDescPrivateDataSpecifier(const TCDescPrivateDataSpecifier& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}
TCDescPrivateDataSpecifier::~TCDescPrivateDataSpecifier() = default;
unsigned int TCDescPrivateDataSpecifier::PrivateDataSpecifier() const {
    fake::CheckClass(*this);
    return m_impl->specifier;
}
TCBaseDesc* TCDescPrivateDataSpecifier::Fork() const {
    return new TCDescPrivateDataSpecifier(*this);
}
int TCDescPrivateDataSpecifier::Decode(const unsigned char*, int length) {
    return length;
}

CSSUInfoLoop::CSSUInfoLoop(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
CSSUInfoLoop::~CSSUInfoLoop() = default;
unsigned int CSSUInfoLoop::OUI() const {
    return m_impl->entry.oui;
}
unsigned char CSSUInfoLoop::SelectorLength() const {
    return static_cast<unsigned char>(m_impl->entry.selector.size());
}
int CSSUInfoLoop::SelectorByte(char* buffer, int* length) {
    return fake::CopySelector(m_impl->entry, *m_impl->loop, buffer, length);
}

TCDescDataBroadcastId::TCDescDataBroadcastId() : m_impl(std::make_unique<Impl>()) {}
TCDescDataBroadcastId::TCDescDataBroadcastId(const TCDescDataBroadcastId& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>()) {
    m_impl->id = other.m_impl->id;
    m_impl->loop = other.m_impl->loop;
}
TCDescDataBroadcastId::~TCDescDataBroadcastId() = default;
unsigned short TCDescDataBroadcastId::DataBroadcastId() const {
    fake::CheckClass(*this);
    return m_impl->id;
}
int TCDescDataBroadcastId::NumOfSSUInfoLoop() const {
    return fake::CountOf(*m_impl->loop);
}
CSSUInfoLoop* TCDescDataBroadcastId::SSUInfoLoop(unsigned int index) const {
    const fake::OuiEntry& entry = m_impl->loop->entries.at(index);
    if (entry.isMissing) {
        return nullptr;
    }
    m_impl->handedOut.push_back(TVServiceInternals::Make<CSSUInfoLoop>(entry, m_impl->loop));
    return m_impl->handedOut.back().get();
}
TCBaseDesc* TCDescDataBroadcastId::Fork() const {
    return new TCDescDataBroadcastId(*this);
}
int TCDescDataBroadcastId::Decode(const unsigned char*, int length) {
    return length;
}

CSSULinkLoop::CSSULinkLoop(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
CSSULinkLoop::~CSSULinkLoop() = default;
unsigned int CSSULinkLoop::OUI() const {
    return m_impl->entry.oui;
}
unsigned char CSSULinkLoop::SelectorLength() const {
    return static_cast<unsigned char>(m_impl->entry.selector.size());
}
int CSSULinkLoop::SelectorByte(char* buffer, int* length) {
    return fake::CopySelector(m_impl->entry, *m_impl->loop, buffer, length);
}

TCDescLinkage::TCDescLinkage() : m_impl(std::make_unique<Impl>()) {}
TCDescLinkage::TCDescLinkage(const TCDescLinkage& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>()) {
    m_impl->script = other.m_impl->script;
}
TCDescLinkage::~TCDescLinkage() = default;
unsigned short TCDescLinkage::TransportStreamId() const {
    return m_impl->script.tsid;
}
unsigned short TCDescLinkage::OriginalNetworkId() const {
    return m_impl->script.onid;
}
unsigned short TCDescLinkage::ServiceId() const {
    return m_impl->script.sid;
}
int TCDescLinkage::LinkageType() const {
    fake::CheckClass(*this);
    return m_impl->script.linkageType;
}
int TCDescLinkage::TableType() const {
    return m_impl->script.tableType;
}
int TCDescLinkage::NumOfSSULinkLoop() const {
    return fake::CountOf(*m_impl->script.loop);
}
CSSULinkLoop* TCDescLinkage::SSULinkLoop(unsigned int index) const {
    const fake::OuiEntry& entry = m_impl->script.loop->entries.at(index);
    if (entry.isMissing) {
        return nullptr;
    }
    m_impl->handedOut.push_back(TVServiceInternals::Make<CSSULinkLoop>(entry, m_impl->script.loop));
    return m_impl->handedOut.back().get();
}
TCBaseDesc* TCDescLinkage::Fork() const {
    return new TCDescLinkage(*this);
}
int TCDescLinkage::Decode(const unsigned char*, int length) {
    m_impl->script = fake::Parsing().linkage;
    return length;
}

// --- The delivery systems

TCDescExtension::TCDescExtension() = default;
TCDescExtension::TCDescExtension(const TCDescExtension& other) : TCBaseDesc(other) {}
TCDescExtension::~TCDescExtension() = default;
unsigned short TCDescExtension::Tag() const {
    return TCBaseDesc::Tag();
}
TCBaseDesc* TCDescExtension::Fork() const {
    return new TCDescExtension(*this);
}
int TCDescExtension::Decode(const unsigned char*, int length) {
    return length;
}

TCDescT2SystemDelivery::TCDescT2SystemDelivery() : m_impl(std::make_unique<Impl>()) {}
TCDescT2SystemDelivery::TCDescT2SystemDelivery(const TCDescT2SystemDelivery& other)
    : TCDescExtension(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}
TCDescT2SystemDelivery::~TCDescT2SystemDelivery() = default;
unsigned char TCDescT2SystemDelivery::PLPId() const {
    return m_impl->plpId;
}
TCBaseDesc* TCDescT2SystemDelivery::Fork() const {
    return new TCDescT2SystemDelivery(*this);
}
int TCDescT2SystemDelivery::Decode(const unsigned char* payload, int length) {
    m_impl->plpId = length < 2 ? 0 : payload[1];  // behind the extension tag
    return length;
}

TCDescTerrestrialDeliverySystem::TCDescTerrestrialDeliverySystem()
    : m_impl(std::make_unique<Impl>()) {}
TCDescTerrestrialDeliverySystem::TCDescTerrestrialDeliverySystem(
    const TCDescTerrestrialDeliverySystem& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}
TCDescTerrestrialDeliverySystem::~TCDescTerrestrialDeliverySystem() = default;
unsigned int TCDescTerrestrialDeliverySystem::CentreFrequency() const {
    return m_impl->frequency;
}
TCBaseDesc* TCDescTerrestrialDeliverySystem::Fork() const {
    return new TCDescTerrestrialDeliverySystem(*this);
}
int TCDescTerrestrialDeliverySystem::Decode(const unsigned char* payload, int length) {
    m_impl->frequency = fake::FrequencyIn(payload, length);
    return length;
}

TCDescCableDeliverySystem::TCDescCableDeliverySystem() : m_impl(std::make_unique<Impl>()) {}
TCDescCableDeliverySystem::TCDescCableDeliverySystem(const TCDescCableDeliverySystem& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}
TCDescCableDeliverySystem::~TCDescCableDeliverySystem() = default;
unsigned int TCDescCableDeliverySystem::Frequency() const {
    return m_impl->frequency;
}
TCBaseDesc* TCDescCableDeliverySystem::Fork() const {
    return new TCDescCableDeliverySystem(*this);
}
int TCDescCableDeliverySystem::Decode(const unsigned char* payload, int length) {
    m_impl->frequency = fake::FrequencyIn(payload, length);
    return length;
}

TCDescSatelliteDeliverySystem::TCDescSatelliteDeliverySystem(int tag)
    : m_impl(std::make_unique<Impl>()) {
    fake::Parsing().satelliteTags.push_back(tag);
}
TCDescSatelliteDeliverySystem::TCDescSatelliteDeliverySystem(
    const TCDescSatelliteDeliverySystem& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}
TCDescSatelliteDeliverySystem::~TCDescSatelliteDeliverySystem() = default;
unsigned int TCDescSatelliteDeliverySystem::Frequency() const {
    return m_impl->frequency;
}
TCBaseDesc* TCDescSatelliteDeliverySystem::Fork() const {
    return new TCDescSatelliteDeliverySystem(*this);
}
int TCDescSatelliteDeliverySystem::Decode(const unsigned char* payload, int length) {
    m_impl->frequency = fake::FrequencyIn(payload, length);
    return length;
}
