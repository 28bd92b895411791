#include "SI/PARSER/Korvo/CATParserKorvo.h"

#include <vector>

#include "SI/Common/Log.h"
#include "platform/TCBaseDesc.h"
#include "platform/TVSHandle.h"

namespace TORVEL_MW {

namespace {
constexpr int kCATag = 0x09;
}

std::unique_ptr<ICATParser> ICATParser::CreateCATParser() {
    std::unique_ptr<ICATParser> parser = std::make_unique<CCATParserKorvo>();
    parser->Create();
    return parser;
}

CCATParserKorvo::~CCATParserKorvo() {
    SI_LOG(LOG_PRIORITY_DEBUG, "CCATParserKorvo::%s", __func__);
    // The platform's parser is destroyed before the CA_system_IDs. Without this line it would be
    // the last, because it is the first member.
    m_Parser.reset();
}

bool CCATParserKorvo::Create() {
    m_Parser = std::make_unique<TCDVBCATParser>(TVSHandle(1, 0));
    return true;
}

// Does not clear the set: it collects the ids of all sections until `Initialize`.
bool CCATParserKorvo::Parse(unsigned short pid, unsigned char* data) {
    if (!m_Parser || !m_Parser->Parse(static_cast<short>(pid), data)) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31mCCATParserKorvo::%s parsing error\033[0m", __func__);
        return false;
    }
    const int count = m_Parser->NumOfDescriptors(kCATag);
    SI_LOG(LOG_PRIORITY_DEBUG, "CCATParserKorvo::%s Number of CA Descriptors: %d", __func__, count);
    for (int index = 0; index < count; ++index) {
        TCBaseDesc* const desc = m_Parser->Descriptor(kCATag, static_cast<unsigned int>(index));
        if (desc == nullptr) {
            continue;
        }
        int length = desc->Length();
        std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
        length = desc->GetDescriptor(bytes.data(), &length);
        if (length > 3) {
            // ISO/IEC 13818-1 2.6.16: CA_system_ID follows tag and length
            const int caSystemId = bytes[2] * 256 + bytes[3];
            SI_LOG(LOG_PRIORITY_DEBUG, "CCATParserKorvo::%s CA Descriptor with CA_System_ID: %d",
                   __func__, caSystemId);
            m_CASystemIds.insert(static_cast<std::uint16_t>(caSystemId));
        }
    }
    return true;
}

void CCATParserKorvo::Initialize() {
    if (m_Parser) {
        m_Parser->Reset();
    }
    m_CASystemIds.clear();
}

bool CCATParserKorvo::IsComplete() {
    SI_LOG(LOG_PRIORITY_DEBUG, "CCATParserKorvo::%s", __func__);
    if (!m_Parser) {
        SI_LOG(LOG_PRIORITY_DEBUG, "CCATParserKorvo::%s parser error (null)", __func__);
        return false;
    }
    return m_Parser->IsValid();
}

void CCATParserKorvo::GetCASystemIds(std::set<unsigned short>& out) {
    out = m_CASystemIds;
}

}  // namespace TORVEL_MW
