#include "SI/PARSER/Korvo/NITParserKorvo.h"

#include "SI/Common/Log.h"
#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "platform/TVSHandle.h"

namespace TORVEL_MW {

namespace {

constexpr int kNitActualTableId = 0x40;
constexpr int kNitOtherTableId = 0x41;

/// How one kind of delivery system descriptor is logged and stored.
struct DeliveryKind {
    unsigned short tag;  // `TCBaseDesc::Tag`: 0x7F04 has the extension tag in the low byte
    int line;            // the line number that its log line shows
    const char* format;
    std::shared_ptr<IDeliveryDesc> (*wrap)(TCBaseDesc* copy);
};

constexpr DeliveryKind kDeliveryKinds[] = {
    {0x44, 180, SI_LOG_PREFIX "Got a cable delivery system descriptor",
     Wrap<CCableDeliverySystemDesc>},
    {0x43, 186, SI_LOG_PREFIX "Got a satellite delivery system descriptor",
     Wrap<CSatelliteDeliverySystemDesc>},
    {0x7F04, 192, SI_LOG_PREFIX "Got a T2 delivery system descriptor", Wrap<CT2DeliverySystemDesc>},
    {0x5A, 198, SI_LOG_PREFIX "Got a terrestrial delivery system descriptor",
     Wrap<CTerrestrialDeliverySystemDesc>},
};

const DeliveryKind* KindOf(unsigned short tag) {
    for (const DeliveryKind& kind : kDeliveryKinds) {
        if (kind.tag == tag) {
            return &kind;
        }
    }
    return nullptr;
}

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
      m_tableAttribute(instance.TableAttribute()),
      m_linkages(instance) {
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
            const DeliveryKind* const kind = KindOf(desc->Tag());
            if (kind == nullptr) {
                continue;
            }
            SI_LOG_FORMAT(kind->line, LOG_PRIORITY_DEBUG, kind->format);
            std::shared_ptr<IDeliveryDesc> delivery = kind->wrap(desc->Fork());
            m_deliveryDescs[{onid, tsid}].push_back(std::move(delivery));
        }
    }
}

void CNITInstance::GetSSULinkageDesc(unsigned int oui,
                                     std::vector<std::unique_ptr<ISSULinkageDesc>>& out) {
    m_linkages.GetSSULinkageDesc(oui, out);
}

void CNITInstance::GetSSUScanLinkageDesc(std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) {
    m_linkages.GetSSUScanLinkageDesc(out);
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
