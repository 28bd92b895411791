#include "SI/PARSER/Korvo/NITParserKorvo.h"

#include "SI/Common/Log.h"
#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "platform/TCDescLinkage.h"
#include "platform/TVSHandle.h"

namespace TORVEL_MW {

namespace {

constexpr int kNitActualTableId = 0x40;
constexpr int kNitOtherTableId = 0x41;
constexpr int kLinkageTag = 0x4A;
constexpr unsigned short kCableTag = 0x44;
constexpr unsigned short kSatelliteTag = 0x43;
constexpr unsigned short kT2Tag = 0x7F04;
constexpr unsigned short kTerrestrialTag = 0x5A;
constexpr int kTableTypeNit = 1;  // ETSI TS 102 006 6.3
constexpr int kTableTypeBat = 2;
constexpr unsigned int kAnyOUI = 0xFFFFFFFF;

}  // namespace

std::unique_ptr<INITParser> INITParser::CreateNITParser(bool actual) {
    std::unique_ptr<INITParser> parser = std::make_unique<CNITParserKorvo>(actual);
    parser->Create();
    return parser;
}

CNITParserKorvo::CNITParserKorvo(bool actual) : m_actual(actual) {}

bool CNITParserKorvo::Create() {
    m_Parser = std::make_unique<TCDVBNITParser>(m_actual ? kNitActualTableId : kNitOtherTableId,
                                                TVSHandle(1, 0));
    return true;
}

void CNITParserKorvo::Initialize() {
    if (m_Parser) {
        m_Parser->Reset();
    }
}

bool CNITParserKorvo::Parse(unsigned short pid, unsigned char* section) {
    if (!m_Parser || !m_Parser->Parse(static_cast<short>(pid), section)) {
        SI_LOG_LINE(69, LOG_PRIORITY_DEBUG, "%s parse incomplete", __func__);
        return false;
    }
    SI_LOG_LINE(73, LOG_PRIORITY_DEBUG, "%s parse complete", __func__);
    return true;
}

void CNITParserKorvo::NetworkIds(std::list<unsigned short>& ids) {
    if (!m_Parser) {
        SI_LOG_LINE(91, LOG_PRIORITY_ERROR, "\033[31m%s parser error (null)\033[0m", __func__);
        return;
    }
    m_Parser->NetworkIds(ids);
}

bool CNITParserKorvo::IsRecv(unsigned short networkId) {
    if (!m_Parser) {
        SI_LOG_LINE(103, LOG_PRIORITY_ERROR, "\033[31m%s parser error (null)\033[0m", __func__);
        return false;
    }
    TCDVBNITInstance* const instance = m_Parser->GetInstance(networkId);
    if (instance == nullptr) {
        SI_LOG_LINE(110, LOG_PRIORITY_ERROR, "\033[31m%s NIT instance not available\033[0m",
                    __func__);
        return false;
    }
    return instance->IsValid();
}

std::unique_ptr<INITInstance> CNITParserKorvo::GetInstance(unsigned short networkId) {
    if (!m_Parser) {
        SI_LOG_LINE(130, LOG_PRIORITY_ERROR, "\033[31m%s parser error (null)\033[0m", __func__);
        return nullptr;
    }
    TCDVBNITInstance* const instance = m_Parser->GetInstance(networkId);
    if (instance == nullptr) {
        return nullptr;
    }
    return std::make_unique<CNITInstance>(*instance);
}

CNITInstance::CNITInstance(TCDVBNITInstance& instance)
    : m_networkId(instance.NetworkId()),
      m_nitAttribute(instance.NitAttribute()),
      m_tableAttribute(instance.TableAttribute()) {
    for (int index = 0; index < instance.NumOfDescriptors(kLinkageTag); ++index) {
        auto* const linkage = dynamic_cast<TCDescLinkage*>(
            instance.Descriptor(kLinkageTag, static_cast<unsigned int>(index)));
        if (linkage == nullptr) {
            continue;
        }
        if (linkage->LinkageType() == TCDescLinkage::LINKAGE_TYPE_SOFTWARE_UPDATE) {
            m_ssuLinkages.push_back(std::make_unique<CSSULinkageDesc>(*linkage));
        } else if (linkage->LinkageType() == TCDescLinkage::LINKAGE_TYPE_TS_CONTAINING_SSU &&
                   (linkage->TableType() == kTableTypeNit ||
                    linkage->TableType() == kTableTypeBat)) {
            m_ssuScanLinkages.push_back(std::make_unique<CSSUScanLinkageDesc>(*linkage));
        }
    }
    for (int index = 0; index < instance.NumOfDVBItemMux(); ++index) {
        TCDVBItemMux* const mux = instance.DVBItemMuxOfIndex(static_cast<unsigned int>(index));
        if (mux == nullptr) {
            continue;
        }
        const std::uint16_t onid = mux->OriginalNetworkId();
        const std::uint16_t tsid = mux->TransportStreamId();
        SI_LOG_LINE(173, LOG_PRIORITY_DEBUG, "NIT contains Mux %d %d", onid, tsid);
        for (int d = 0; d < mux->NumOfDescriptors(); ++d) {
            const TCBaseDesc* const desc = mux->DescriptorByIndex(static_cast<unsigned int>(d));
            if (desc == nullptr) {
                continue;
            }
            std::shared_ptr<IDeliveryDesc> delivery;
            const unsigned short tag = desc->Tag();
            if (tag == kCableTag) {
                SI_LOG_LINE(180, LOG_PRIORITY_DEBUG, "Got a cable delivery system descriptor");
                delivery = std::make_shared<CCableDeliverySystemDesc>(
                    std::shared_ptr<TCBaseDesc>(desc->Fork()));
            } else if (tag == kSatelliteTag) {
                SI_LOG_LINE(186, LOG_PRIORITY_DEBUG, "Got a satellite delivery system descriptor");
                delivery = std::make_shared<CSatelliteDeliverySystemDesc>(
                    std::shared_ptr<TCBaseDesc>(desc->Fork()));
            } else if (tag == kT2Tag) {
                SI_LOG_LINE(192, LOG_PRIORITY_DEBUG, "Got a T2 delivery system descriptor");
                delivery = std::make_shared<CT2DeliverySystemDesc>(
                    std::shared_ptr<TCBaseDesc>(desc->Fork()));
            } else if (tag == kTerrestrialTag) {
                SI_LOG_LINE(198, LOG_PRIORITY_DEBUG,
                            "Got a terrestrial delivery system descriptor");
                delivery = std::make_shared<CTerrestrialDeliverySystemDesc>(
                    std::shared_ptr<TCBaseDesc>(desc->Fork()));
            } else {
                continue;
            }
            m_deliveryDescs[{onid, tsid}].push_back(std::move(delivery));
        }
    }
}

void CNITInstance::GetSSULinkageDesc(unsigned int oui,
                                     std::vector<std::unique_ptr<ISSULinkageDesc>>& out) {
    out.reserve(m_ssuLinkages.size());
    for (const std::unique_ptr<ISSULinkageDesc>& linkage : m_ssuLinkages) {
        if (oui != kAnyOUI && !linkage->ContainsOUI(oui)) {
            continue;
        }
        if (const auto* const ours = dynamic_cast<const CSSULinkageDesc*>(linkage.get())) {
            out.push_back(std::make_unique<CSSULinkageDesc>(*ours));
        }
    }
}

void CNITInstance::GetSSUScanLinkageDesc(std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) {
    out.reserve(m_ssuScanLinkages.size());
    for (const std::unique_ptr<ISSUScanLinkageDesc>& linkage : m_ssuScanLinkages) {
        if (const auto* const ours = dynamic_cast<const CSSUScanLinkageDesc*>(linkage.get())) {
            out.push_back(std::make_unique<CSSUScanLinkageDesc>(*ours));
        }
    }
}

void CNITInstance::GetInfo(unsigned short& networkId, unsigned char& nitAttribute,
                           unsigned char& tableAttribute) {
    networkId = m_networkId;
    nitAttribute = m_nitAttribute;
    tableAttribute = m_tableAttribute;
}

void CNITInstance::GetDeliveryDescs(unsigned short onid, unsigned short tsid,
                                    std::vector<std::shared_ptr<IDeliveryDesc>>& out) {
    const auto found = m_deliveryDescs.find({onid, tsid});
    if (found != m_deliveryDescs.end()) {
        out = found->second;
    }
}

}  // namespace TORVEL_MW
