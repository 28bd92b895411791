#include "SI/PARSER/Korvo/NITParserKorvo.h"

#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "platform/Log.h"
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
        LOG(0, LOG_PRIORITY_DEBUG, "TORVEL", "%s: %s(%d) > %s parse incomplete", __FILE_NAME__,
            __func__, 69, __func__);
        return false;
    }
    LOG(0, LOG_PRIORITY_DEBUG, "TORVEL", "%s: %s(%d) > %s parse complete", __FILE_NAME__, __func__,
        73, __func__);
    return true;
}

void CNITParserKorvo::NetworkIds(std::list<unsigned short>& ids) {
    if (!m_Parser) {
        LOG(0, LOG_PRIORITY_ERROR, "TORVEL", "%s: %s(%d) > \033[31m%s parser error (null)\033[0m",
            __FILE_NAME__, __func__, 91, __func__);
        return;
    }
    m_Parser->NetworkIds(ids);
}

bool CNITParserKorvo::IsRecv(unsigned short networkId) {
    if (!m_Parser) {
        LOG(0, LOG_PRIORITY_ERROR, "TORVEL", "%s: %s(%d) > \033[31m%s parser error (null)\033[0m",
            __FILE_NAME__, __func__, 103, __func__);
        return false;
    }
    TCDVBNITInstance* const instance = m_Parser->GetInstance(networkId);
    if (instance == nullptr) {
        LOG(0, LOG_PRIORITY_ERROR, "TORVEL",
            "%s: %s(%d) > \033[31m%s NIT instance not available\033[0m", __FILE_NAME__, __func__,
            110, __func__);
        return false;
    }
    return instance->IsValid();
}

std::unique_ptr<INITInstance> CNITParserKorvo::GetInstance(unsigned short networkId) {
    if (!m_Parser) {
        LOG(0, LOG_PRIORITY_ERROR, "TORVEL", "%s: %s(%d) > \033[31m%s parser error (null)\033[0m",
            __FILE_NAME__, __func__, 130, __func__);
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
        LOG(0, LOG_PRIORITY_DEBUG, "TORVEL", "%s: %s(%d) > NIT contains Mux %d %d", __FILE_NAME__,
            __func__, 173, onid, tsid);
        for (int d = 0; d < mux->NumOfDescriptors(); ++d) {
            const TCBaseDesc* const desc = mux->DescriptorByIndex(static_cast<unsigned int>(d));
            if (desc == nullptr) {
                continue;
            }
            std::shared_ptr<IDeliveryDesc> delivery;
            const unsigned short tag = desc->Tag();
            if (tag == kCableTag) {
                LOG(0, LOG_PRIORITY_DEBUG, "TORVEL",
                    "%s: %s(%d) > Got a cable delivery system descriptor", __FILE_NAME__, __func__,
                    180);
                delivery = std::make_shared<CCableDeliverySystemDesc>(
                    std::shared_ptr<TCBaseDesc>(desc->Fork()));
            } else if (tag == kSatelliteTag) {
                LOG(0, LOG_PRIORITY_DEBUG, "TORVEL",
                    "%s: %s(%d) > Got a satellite delivery system descriptor", __FILE_NAME__,
                    __func__, 186);
                delivery = std::make_shared<CSatelliteDeliverySystemDesc>(
                    std::shared_ptr<TCBaseDesc>(desc->Fork()));
            } else if (tag == kT2Tag) {
                LOG(0, LOG_PRIORITY_DEBUG, "TORVEL",
                    "%s: %s(%d) > Got a T2 delivery system descriptor", __FILE_NAME__, __func__,
                    192);
                delivery = std::make_shared<CT2DeliverySystemDesc>(
                    std::shared_ptr<TCBaseDesc>(desc->Fork()));
            } else if (tag == kTerrestrialTag) {
                LOG(0, LOG_PRIORITY_DEBUG, "TORVEL",
                    "%s: %s(%d) > Got a terrestrial delivery system descriptor", __FILE_NAME__,
                    __func__, 198);
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
