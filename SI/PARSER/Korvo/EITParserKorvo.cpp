#include "SI/PARSER/Korvo/EITParserKorvo.h"

#include <utility>

#include "SI/Common/Log.h"
#include "SI/PARSER/Korvo/SavedDescriptor.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "platform/TVSHandle.h"

namespace TORVEL_MW {

namespace {
constexpr int kEitPresentFollowingActualTableId = 78;
constexpr int kHeaderSize = 3;  // table_id to section_length, which section_length does not count
}  // namespace

std::unique_ptr<IEITParser> IEITParser::CreateEITParser() {
    std::unique_ptr<IEITParser> parser = std::make_unique<CEITParserKorvo>();
    parser->Create();
    return parser;
}

bool CEITParserKorvo::Create() {
    m_Parser = std::make_unique<TCDVBEITParser>(kEitPresentFollowingActualTableId, TVSHandle(1, 0));
    return true;
}

bool CEITParserKorvo::Parse(unsigned short pid, unsigned char* data) {
    if (!m_Parser || !m_Parser->Parse(static_cast<short>(pid), data)) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31mCEITParserKorvo::%s parser error\033[0m", __func__);
        return false;
    }
    return true;
}

void CEITParserKorvo::Initialize() {
    if (m_Parser) {
        m_Parser->Reset();
    }
}

bool CEITParserKorvo::IsComplete(unsigned short onid, unsigned short tsid, unsigned short sid) {
    if (!m_Parser) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31mCEITParserKorvo::%s parser error (null)\033[0m",
               __func__);
        return false;
    }
    // True as soon as the sub-table exists, even if sections of it are still missing.
    if (m_Parser->EITInstance(TCServiceKey(onid, tsid, sid)) == nullptr) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31mCEITParserKorvo::%s EIT instance not available\033[0m",
               __func__);
        return false;
    }
    return true;
}

bool CEITParserKorvo::GetDescriptors(unsigned short onid, unsigned short tsid, unsigned short sid,
                                     std::vector<EITDescriptor>& out) {
    SI_LOG(LOG_PRIORITY_DEBUG, "CEITParserKorvo::%s", __func__);
    if (!m_Parser) {
        return false;
    }
    const TVSHandle handle(1, 0);
    TCDVBEITItem item(sid, tsid, onid, handle);
    item.m_Parse(m_Parser->Section(), m_Parser->SectionLength() + kHeaderSize,
                 kEitPresentFollowingActualTableId);
    TCDVBEITItemEvent* const event = item.DVBEITItemEvent(0);
    if (event == nullptr) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31mCEITParserKorvo::%s EIT itemEvent not available\033[0m",
               __func__);
        return false;
    }
    TCDescriptorHash loop;
    TCDescriptor(handle).Parse(event->DescriptorLoop(), event->DescriptorLoopLength(), loop,
                               kEitPresentFollowingActualTableId);
    const int count = loop.NumOfDescriptors();
    out.clear();
    out.reserve(static_cast<std::size_t>(count));
    PrivateDataState state;
    for (int index = 0; index < count; ++index) {
        EITDescriptor record{};
        if (!SaveDescriptor(loop.DescriptorByIndex(static_cast<unsigned int>(index)), state,
                            record)) {
            continue;
        }
        SI_LOG(LOG_PRIORITY_DEBUG,
               "CEITParserKorvo::%s Saving descriptor Tag: 0x%x, Size: %d, Extended? %s, "
               "Private? %s",
               __func__, record.m_tag, static_cast<int>(record.m_data.size()),
               record.m_hasExtendedTag ? "Yes" : "No",
               record.m_hasPrivateDataSpecifier ? "Yes" : "No");
        out.push_back(std::move(record));
    }
    return true;
}

}  // namespace TORVEL_MW
