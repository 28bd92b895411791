#include "SI/PARSER/Korvo/BATParserKorvo.h"

#include "SI/Common/Log.h"
#include "platform/TVSHandle.h"

namespace TORVEL_MW {

std::unique_ptr<IBATParser> IBATParser::CreateBATParser() {
    std::unique_ptr<IBATParser> parser = std::make_unique<CBATParserKorvo>();
    parser->Create();
    return parser;
}

bool CBATParserKorvo::Create() {
    m_Parser = std::make_unique<TCDVBBATParser>(TVSHandle(1, 0));
    return true;
}

void CBATParserKorvo::Initialize() {
    if (m_Parser) {
        m_Parser->Reset();
    }
}

bool CBATParserKorvo::Parse(unsigned short pid, unsigned char* section) {
    if (!m_Parser || !m_Parser->Parse(static_cast<short>(pid), section)) {
        SI_LOG_LINE(55, LOG_PRIORITY_DEBUG, "%s parse incomplete", __func__);
        return false;
    }
    SI_LOG_LINE(59, LOG_PRIORITY_DEBUG, "%s parse complete", __func__);
    return true;
}

void CBATParserKorvo::BouquetIds(std::list<unsigned short>& ids) {
    if (!m_Parser) {
        SI_LOG_LINE(77, LOG_PRIORITY_ERROR, "\033[31m%s parser error (null)\033[0m", __func__);
        return;
    }
    m_Parser->BouquetIds(ids);
}

unsigned short CBATParserKorvo::BouquetId() {
    return m_Parser ? m_Parser->TableIdExt() : static_cast<unsigned short>(0);
}

bool CBATParserKorvo::AllSubtablesReceived() {
    return m_Parser && m_Parser->AllSubtablesReceived();
}

bool CBATParserKorvo::IsRecv(unsigned short bouquetId) {
    if (!m_Parser) {
        SI_LOG_LINE(89, LOG_PRIORITY_ERROR, "\033[31m%s parser error (null)\033[0m", __func__);
        return false;
    }
    TCDVBBATInstance* const instance = m_Parser->GetInstance(bouquetId);
    if (instance == nullptr) {
        SI_LOG_LINE(96, LOG_PRIORITY_ERROR, "\033[31m%s BAT instance not available\033[0m",
                    __func__);
        return false;
    }
    return instance->IsValid();
}

std::unique_ptr<IBATInstance> CBATParserKorvo::GetInstance(unsigned short bouquetId) {
    if (!m_Parser) {
        SI_LOG_LINE(116, LOG_PRIORITY_ERROR, "\033[31m%s parser error (null)\033[0m", __func__);
        return nullptr;
    }
    TCDVBBATInstance* const instance = m_Parser->GetInstance(bouquetId);
    if (instance == nullptr) {
        return nullptr;
    }
    return std::make_unique<CBATInstance>(*instance);
}

CBATInstance::CBATInstance(TCDVBBATInstance& instance)
    : m_bouquetId(instance.BouquetId()),
      m_tableAttribute(instance.TableAttribute()),
      m_linkages(instance) {}

void CBATInstance::GetSSULinkageDesc(unsigned int oui,
                                     std::vector<std::unique_ptr<ISSULinkageDesc>>& out) {
    m_linkages.GetSSULinkageDesc(oui, out);
}

void CBATInstance::GetSSUScanLinkageDesc(std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) {
    m_linkages.GetSSUScanLinkageDesc(out);
}

void CBATInstance::GetInfo(unsigned short& bouquetId, unsigned char& tableAttribute) {
    bouquetId = m_bouquetId;
    tableAttribute = m_tableAttribute;
}

}  // namespace TORVEL_MW
