#include "SI/PARSER/Korvo/DescriptorsKorvo.h"

// The three assertions below are checked in every build, in release builds too.
#undef NDEBUG
#include <cassert>
#include <utility>

#include "SI/Common/Log.h"
#include "platform/TCDescCableDeliverySystem.h"
#include "platform/TCDescDataBroadcastId.h"
#include "platform/TCDescLinkage.h"
#include "platform/TCDescSatelliteDeliverySystem.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescTerrestrialDeliverySystem.h"

namespace TORVEL_MW {

namespace {

constexpr char kSource[] = "SI/PARSER/Korvo/DescriptorsKorvo.cpp";

// Stores one entry of an OUI loop. Drops an entry whose selector bytes the platform cannot copy.
template <class Entry>
void Keep(Entry& entry, std::multimap<std::uint32_t, SelectorBytes>& selectors) {
    if (entry.SelectorLength() == 0) {
        selectors.emplace(entry.OUI(), nullptr);
        return;
    }
    auto bytes = std::make_shared<std::vector<unsigned char>>(entry.SelectorLength());
    int length = entry.SelectorLength();
    if (entry.SelectorByte(reinterpret_cast<char*>(bytes->data()), &length) == 0) {
        return;
    }
    selectors.emplace(entry.OUI(), std::move(bytes));
}

}  // namespace

// --- Linkages to services with updates

std::shared_ptr<ISSULinkageDesc> ISSULinkageDesc::Parse(unsigned char const* data) {
    TCDescLinkage desc;
    const int parsed = desc.Parse(const_cast<unsigned char*>(data));
    if (parsed != desc.Length() ||
        desc.LinkageType() != TCDescLinkage::LINKAGE_TYPE_SOFTWARE_UPDATE) {
        SI_LOG_LINE(41, LOG_PRIORITY_ERROR,
                    "\033[31mNot an SSU linkage descriptor %d bytes parsed, linkage type %d\033[0m",
                    parsed, desc.LinkageType());
        return nullptr;
    }
    return std::make_shared<CSSULinkageDesc>(desc);
}

CSSULinkageDesc::CSSULinkageDesc(TCDescLinkage& desc)
    : m_onid(desc.OriginalNetworkId()), m_tsid(desc.TransportStreamId()), m_sid(desc.ServiceId()) {
    if (desc.LinkageType() != TCDescLinkage::LINKAGE_TYPE_SOFTWARE_UPDATE) {
        __assert_fail("desc.LinkageType() == TCDescLinkage::LINKAGE_TYPE_SOFTWARE_UPDATE", kSource,
                      50, "TORVEL_MW::CSSULinkageDesc::CSSULinkageDesc(TCDescLinkage&)");
    }
    for (int index = 0; index < desc.NumOfSSULinkLoop(); ++index) {
        if (CSSULinkLoop* const entry = desc.SSULinkLoop(static_cast<unsigned int>(index))) {
            Keep(*entry, m_selectors);
        }
    }
}

void CSSULinkageDesc::GetOUIs(std::list<unsigned int>& ouis) {
    for (const auto& entry : m_selectors) {
        ouis.push_back(entry.first);
    }
}

bool CSSULinkageDesc::ContainsOUI(unsigned int oui) {
    return m_selectors.find(oui) != m_selectors.end();
}

void CSSULinkageDesc::GetSelectorBytes(unsigned int oui, std::vector<SelectorBytes>& selectors) {
    const auto range = m_selectors.equal_range(oui);
    const auto count = std::distance(range.first, range.second);
    selectors.reserve(static_cast<std::size_t>(count));
    SI_LOG_LINE(100, LOG_PRIORITY_INFO, "\033[32m%s : OUI 0x%X has %d selector byte entries\033[0m",
                "virtual void TORVEL_MW::CSSULinkageDesc::GetSelectorBytes(uint32_t, "
                "std::vector<std::shared_ptr<std::vector<unsigned char> > >&)",
                oui, static_cast<int>(count));
    for (auto entry = range.first; entry != range.second; ++entry) {
        selectors.push_back(entry->second);
    }
}

void CSSULinkageDesc::GetLocation(unsigned short& onid, unsigned short& tsid, unsigned short& sid) {
    onid = m_onid;
    tsid = m_tsid;
    sid = m_sid;
}

// --- Linkages to tables that list updates

CSSUScanLinkageDesc::CSSUScanLinkageDesc(TCDescLinkage& desc)
    : m_tableIsNIT(desc.TableType() == 1),  // ETSI TS 102 006 6.3: 1 NIT, 2 BAT
      m_onid(desc.OriginalNetworkId()),
      m_tsid(desc.TransportStreamId()),
      m_sid(desc.ServiceId()) {
    if (desc.LinkageType() != TCDescLinkage::LINKAGE_TYPE_TS_CONTAINING_SSU) {
        __assert_fail("desc.LinkageType() == TCDescLinkage::LINKAGE_TYPE_TS_CONTAINING_SSU",
                      kSource, 132,
                      "TORVEL_MW::CSSUScanLinkageDesc::CSSUScanLinkageDesc(TCDescLinkage&)");
    }
}

bool CSSUScanLinkageDesc::operator==(const ISSUScanLinkageDesc& other) const {
    SI_LOG_LINE(155, LOG_PRIORITY_DEBUG, "%s",
                "virtual bool TORVEL_MW::CSSUScanLinkageDesc::operator==(const "
                "TORVEL_MW::ISSUScanLinkageDesc&) const");
    const auto* const that = dynamic_cast<const CSSUScanLinkageDesc*>(&other);
    return that != nullptr && m_tableIsNIT == that->m_tableIsNIT && m_onid == that->m_onid &&
           m_tsid == that->m_tsid && m_sid == that->m_sid;
}

void CSSUScanLinkageDesc::GetLocation(bool& tableIsNIT, unsigned short& onid, unsigned short& tsid,
                                      unsigned short& sid) {
    tableIsNIT = m_tableIsNIT;
    onid = m_onid;
    tsid = m_tsid;
    sid = m_sid;
}

// --- Updates that an elementary stream offers

const unsigned short ISSUInfo::SSU_INFO;  // C++14 clients may bind it to a reference

CSSUInfo::CSSUInfo(std::uint16_t pid, TCDescDataBroadcastId& dbid) : m_pid(pid) {
    if (dbid.DataBroadcastId() != ISSUInfo::SSU_INFO) {
        __assert_fail("dbid.DataBroadcastId() == ISSUInfo::SSU_INFO", kSource, 172,
                      "TORVEL_MW::CSSUInfo::CSSUInfo(uint16_t, TCDescDataBroadcastId&)");
    }
    for (int index = 0; index < dbid.NumOfSSUInfoLoop(); ++index) {
        if (CSSUInfoLoop* const entry = dbid.SSUInfoLoop(static_cast<unsigned int>(index))) {
            Keep(*entry, m_selectors);
        }
    }
}

void CSSUInfo::GetOUIs(std::list<unsigned int>& ouis) {
    for (const auto& entry : m_selectors) {
        ouis.push_back(entry.first);
    }
}

bool CSSUInfo::ContainsOUI(unsigned int oui) {
    return m_selectors.find(oui) != m_selectors.end();
}

void CSSUInfo::GetSelectorBytes(unsigned int oui, std::vector<SelectorBytes>& selectors) {
    const auto range = m_selectors.equal_range(oui);
    selectors.reserve(static_cast<std::size_t>(std::distance(range.first, range.second)));
    for (auto entry = range.first; entry != range.second; ++entry) {
        selectors.push_back(entry->second);
    }
}

void CSSUInfo::GetPID(unsigned short& pid) {
    pid = m_pid;
}

// --- Saved descriptors

std::unique_ptr<ISIDescriptor> ISIDescriptor::CreateSIDescriptor(
    unsigned char tag, bool hasPrivateDataSpecifier, unsigned int privateDataSpecifier,
    bool hasExtendedTag, unsigned char extendedTag, std::vector<unsigned char> data) {
    return std::make_unique<SIDescriptor>(tag, hasPrivateDataSpecifier, privateDataSpecifier,
                                          hasExtendedTag, extendedTag, std::move(data));
}

// The payload is copied, not moved in: the copy has no spare capacity.
SIDescriptor::SIDescriptor(unsigned char tag, bool hasPrivateDataSpecifier,
                           unsigned int privateDataSpecifier, bool hasExtendedTag,
                           unsigned char extendedTag, std::vector<unsigned char> data)
    : m_tag(tag),
      m_hasPrivateDataSpecifier(hasPrivateDataSpecifier),
      m_privateDataSpecifier(privateDataSpecifier),
      m_hasExtendedTag(hasExtendedTag),
      m_extendedTag(extendedTag),
      m_data(data.begin(), data.end()) {}

unsigned int SIDescriptor::GetTag() {
    return m_tag;
}

bool SIDescriptor::GetPrivateDataSpecifierDescriptor(unsigned int& pds) {
    if (m_hasPrivateDataSpecifier) {
        pds = m_privateDataSpecifier;
    }
    return m_hasPrivateDataSpecifier;
}

bool SIDescriptor::GetExtendedDescriptorTag(unsigned int& extTag) {
    if (m_hasExtendedTag) {
        extTag = m_extendedTag;
    }
    return m_hasExtendedTag;
}

const std::vector<unsigned char>& SIDescriptor::GetData() const {
    return m_data;
}

// --- Delivery systems

namespace {

constexpr unsigned char kSatelliteTag = 0x43;
constexpr unsigned char kTerrestrialTag = 0x5A;
constexpr unsigned char kCableTag = 0x44;
constexpr unsigned char kExtensionTag = 0x7F;
constexpr unsigned short kT2Tag = 0x7F04;
constexpr unsigned char kT2Length = 4;  // extension tag, plp_id and T2_system_id

}  // namespace

std::shared_ptr<IDeliveryDesc> IDeliveryDesc::Parse(unsigned char* data) {
    if (data[0] == kSatelliteTag) {
        SI_LOG_LINE(292, LOG_PRIORITY_DEBUG, "Satellite delivery system descriptor");
        TCDescSatelliteDeliverySystem desc(kSatelliteTag);
        const int parsed = desc.Parse(data);
        if (parsed == desc.Length() && desc.Tag() == kSatelliteTag) {
            return Wrap<CSatelliteDeliverySystemDesc>(desc.Fork());
        }
        SI_LOG_LINE(299, LOG_PRIORITY_ERROR,
                    "\033[31mFailed to parse DSD %d bytes parsed, tag %d\033[0m", parsed,
                    desc.Tag());
    } else if (data[0] == kTerrestrialTag) {
        SI_LOG_LINE(303, LOG_PRIORITY_DEBUG, "Terrestrial delivery system descriptor");
        TCDescTerrestrialDeliverySystem desc;
        const int parsed = desc.Parse(data);
        if (parsed == desc.Length() && desc.Tag() == kTerrestrialTag) {
            SI_LOG_LINE(308, LOG_PRIORITY_DEBUG, "Freq %lu",
                        static_cast<unsigned long>(desc.CentreFrequency()));
            return Wrap<CTerrestrialDeliverySystemDesc>(desc.Fork());
        }
        SI_LOG_LINE(311, LOG_PRIORITY_ERROR,
                    "\033[31mFailed to parse DSD %d bytes parsed, tag %d\033[0m", parsed,
                    desc.Tag());
    } else if (data[0] == kCableTag) {
        SI_LOG_LINE(315, LOG_PRIORITY_DEBUG, "Cable delivery system descriptor");
        TCDescCableDeliverySystem desc;
        const int parsed = desc.Parse(data);
        if (parsed == desc.Length() && desc.Tag() == kCableTag) {
            return Wrap<CCableDeliverySystemDesc>(desc.Fork());
        }
        SI_LOG_LINE(322, LOG_PRIORITY_ERROR,
                    "\033[31mFailed to parse DSD %d bytes parsed, tag %d\033[0m", parsed,
                    desc.Tag());
    } else if (data[0] == kExtensionTag) {
        // The length byte must be 4, so only the shortest form of the T2 descriptor is accepted.
        if (data[1] == kT2Length) {
            SI_LOG_LINE(328, LOG_PRIORITY_DEBUG, "T2 delivery system descriptor");
            TCDescT2SystemDelivery desc;
            const int parsed = desc.Parse(data);
            if (parsed == desc.Length() && desc.Tag() == kT2Tag) {
                return Wrap<CT2DeliverySystemDesc>(desc.Fork());
            }
            SI_LOG_LINE(335, LOG_PRIORITY_ERROR,
                        "\033[31mFailed to parse DSD %d bytes parsed, tag %d\033[0m", parsed,
                        desc.Tag());
        } else {
            SI_LOG_LINE(339, LOG_PRIORITY_ERROR, "\033[31mUnknown extension tag %d\033[0m",
                        data[1]);
        }
    } else {
        SI_LOG_LINE(344, LOG_PRIORITY_ERROR, "\033[31mUnknown tag %d\033[0m", data[1]);
    }
    return nullptr;
}

const std::shared_ptr<TCBaseDesc>& IDeliveryDesc::PlatformDesc() const {
    switch (m_type) {
        case DELIVERY_T2:
            return static_cast<const CT2DeliverySystemDesc*>(this)->m_desc;
        case DELIVERY_TERRESTRIAL:
            return static_cast<const CTerrestrialDeliverySystemDesc*>(this)->m_desc;
        case DELIVERY_CABLE:
            return static_cast<const CCableDeliverySystemDesc*>(this)->m_desc;
        case DELIVERY_SATELLITE:
            break;
    }
    return static_cast<const CSatelliteDeliverySystemDesc*>(this)->m_desc;
}

CT2DeliverySystemDesc::CT2DeliverySystemDesc(std::shared_ptr<TCBaseDesc> desc)
    : IDeliveryDesc(DELIVERY_T2), m_desc(std::move(desc)) {}

CT2DeliverySystemDesc::~CT2DeliverySystemDesc() = default;

CTerrestrialDeliverySystemDesc::CTerrestrialDeliverySystemDesc(std::shared_ptr<TCBaseDesc> desc)
    : IDeliveryDesc(DELIVERY_TERRESTRIAL), m_desc(std::move(desc)) {}

CTerrestrialDeliverySystemDesc::~CTerrestrialDeliverySystemDesc() = default;

CCableDeliverySystemDesc::CCableDeliverySystemDesc(std::shared_ptr<TCBaseDesc> desc)
    : IDeliveryDesc(DELIVERY_CABLE), m_desc(std::move(desc)) {}

CCableDeliverySystemDesc::~CCableDeliverySystemDesc() = default;

CSatelliteDeliverySystemDesc::CSatelliteDeliverySystemDesc(std::shared_ptr<TCBaseDesc> desc)
    : IDeliveryDesc(DELIVERY_SATELLITE), m_desc(std::move(desc)) {}

CSatelliteDeliverySystemDesc::~CSatelliteDeliverySystemDesc() = default;

}  // namespace TORVEL_MW
