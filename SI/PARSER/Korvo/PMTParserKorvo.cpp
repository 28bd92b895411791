#include "SI/PARSER/Korvo/PMTParserKorvo.h"

#include "SI/Common/Log.h"
#include "SI/Common/Wildcard.h"
#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "platform/TCDescCA.h"
#include "platform/TCDescCarouselIdentifier.h"
#include "platform/TCDescDataBroadcastId.h"
#include "platform/TCDescStreamIdentifier.h"
#include "platform/TVSHandle.h"

namespace TORVEL_MW {

namespace {

constexpr int kCATag = 0x09;
constexpr int kCarouselIdentifierTag = 0x13;
constexpr int kStreamIdentifierTag = TCDescStreamIdentifier::DESCRIPTOR_ID;
constexpr int kDataBroadcastIdTag = 0x66;
constexpr int kApplicationSignallingTag = 0x6F;

constexpr unsigned char kPrivateSections = 0x05;
constexpr std::uint32_t kNoCarousel = 0xFFFFFFFF;

// The stream types that carry DSM-CC sections (ISO/IEC 13818-1 table 2-34).
bool IsDsmCc(unsigned char streamType) {
    return streamType == 0x08 || (streamType >= 0x0A && streamType <= 0x0D);
}

// The PMT of a program; null when there is none or `parser` is null. Null is logged with the file,
// function and line of `place`, the query that called this.
TCPMTInstance* Instance(TCPMTParser* parser, unsigned short sid, const LogPlace& place) {
    TCPMTInstance* const instance = parser == nullptr ? nullptr : parser->PMTInstance(sid);
    if (instance == nullptr) {
        SI_LOG_AT(place, LOG_PRIORITY_ERROR, "\033[31m%s PMT instance not available\033[0m",
                  place.function);
    }
    return instance;
}

}  // namespace

std::unique_ptr<IPMTParser> IPMTParser::CreatePMTParser() {
    std::unique_ptr<IPMTParser> parser = std::make_unique<CPMTParserKorvo>();
    parser->Create();
    return parser;
}

CPMTParserKorvo::~CPMTParserKorvo() {
    SI_LOG(LOG_PRIORITY_DEBUG, "~CPMTParserKorvo");
    // The platform's parser is destroyed before the caches. Without this line it would be the
    // last, because it is the first member.
    m_Parser.reset();
}

bool CPMTParserKorvo::Create() {
    m_Parser = std::make_unique<TCPMTParser>(TVSHandle(1, 0));
    return true;
}

bool CPMTParserKorvo::Parse(unsigned short pid, unsigned char* data) {
    if (!m_Parser || !m_Parser->Parse(static_cast<short>(pid), data)) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31m%s parsing error\033[0m", __func__);
        return false;
    }
    const unsigned short program = m_Parser->ProgramNumber();
    TCPMTInstance* const instance = m_Parser->PMTInstance(program);
    m_CASystemIds.clear();
    SI_LOG(LOG_PRIORITY_DEBUG, "Prog number %d", program);
    if (instance == nullptr) {
        SI_LOG(LOG_PRIORITY_DEBUG, "No instance available!?");
        m_BuildServiceCarouselMap();
        return true;
    }
    m_AddCASystemIds(*instance);
    for (int e = 0; e < instance->NumOfElementary(); ++e) {
        TCPMTElementary* const stream = instance->PMTElementary(static_cast<unsigned int>(e));
        if (stream == nullptr) {
            SI_LOG(LOG_PRIORITY_ERROR,
                   "\033[31m%s PMTInstanceData->PMTElementary(%d) = NULL. Skipping\033[0m",
                   __func__, e);
            continue;
        }
        const int count = stream->NumOfDescriptors(kDataBroadcastIdTag);
        SI_LOG(LOG_PRIORITY_DEBUG, "Num DataBroadcastId descriptors %d", count);
        for (int index = 0; index < count; ++index) {
            auto* const dbid = dynamic_cast<TCDescDataBroadcastId*>(
                stream->Descriptor(kDataBroadcastIdTag, static_cast<unsigned int>(index)));
            if (dbid != nullptr && dbid->DataBroadcastId() == ISSUInfo::SSU_INFO) {
                m_SSUInfoMap[program].push_back(
                    std::make_unique<CSSUInfo>(stream->ElementaryPID(), *dbid));
            }
        }
        m_AddCASystemIds(*stream);
    }
    m_BuildServiceCarouselMap();
    return true;
}

void CPMTParserKorvo::m_AddCASystemIds(IDescriptorContainer& loop) {
    for (int index = 0; index < loop.NumOfDescriptors(kCATag); ++index) {
        const auto* const ca = dynamic_cast<const TCDescCA*>(
            loop.Descriptor(kCATag, static_cast<unsigned int>(index)));
        if (ca != nullptr) {
            m_CASystemIds.insert(ca->CASystemId());
        }
    }
}

void CPMTParserKorvo::m_BuildServiceCarouselMap() {
    m_ServiceCarouselMap.clear();
    const int instances = m_Parser->NumOfPMTInstance();
    for (int i = 0; i < instances; ++i) {
        TCPMTInstance* const instance = m_Parser->PMTInstanceOfIndex(static_cast<unsigned int>(i));
        if (instance == nullptr) {
            SI_LOG(LOG_PRIORITY_ERROR,
                   "\033[31m%s. m_Parser->PMTInstanceOfIndex(%d) = NULL. Skiping\033[0m", __func__,
                   i);
            continue;
        }
        for (int e = 0; e < instance->NumOfElementary(); ++e) {
            TCPMTElementary* const stream = instance->PMTElementary(static_cast<unsigned int>(e));
            if (stream == nullptr) {
                SI_LOG(LOG_PRIORITY_ERROR,
                       "\033[31m%s PMTInstanceData->PMTElementary(%d)  = NULL. Skiping\033[0m",
                       __func__, e);
                continue;
            }
            if (!IsDsmCc(stream->StreamType())) {
                continue;
            }
            const auto* const component = dynamic_cast<const TCDescStreamIdentifier*>(
                stream->Descriptor(kStreamIdentifierTag, 0));
            if (component == nullptr) {
                SI_LOG(LOG_PRIORITY_ERROR,
                       "\033[31m%s "
                       "PMTElementaryData->Descriptor(TCDescStreamIdentifier::DESCRIPTOR_ID) = "
                       "NULL. Ignoring Entry\033[0m",
                       __func__);
                continue;
            }
            std::uint32_t carouselId = kNoCarousel;
            if (const auto* const carousel = dynamic_cast<const TCDescCarouselIdentifier*>(
                    stream->Descriptor(kCarouselIdentifierTag, 0))) {
                carouselId = carousel->CarouselId();
                SI_LOG(LOG_PRIORITY_DEBUG,
                       "%s Found DSM-CC component tag: %d with Carousel Identifier: %d", __func__,
                       component->ComponentTag(), static_cast<int>(carouselId));
            } else {
                SI_LOG(LOG_PRIORITY_DEBUG,
                       "%s Found DSM-CC component tag: %d with no Carousel Identifier", __func__,
                       component->ComponentTag());
            }
            m_ServiceCarouselMap[component->ComponentTag()] = {carouselId, stream->ElementaryPID()};
        }
    }
    SI_LOG(LOG_PRIORITY_DEBUG, "%s EXIT", __func__);
}

// Keeps the SSU offers: they live until the parser is destroyed.
void CPMTParserKorvo::Initialize() {
    if (m_Parser) {
        m_Parser->Reset();
    }
    m_ServiceCarouselMap.clear();
    m_CASystemIds.clear();
}

bool CPMTParserKorvo::IsComplete(unsigned short sid) {
    SI_LOG(LOG_PRIORITY_DEBUG, "CPMTParserKorvo::%s sid=%d", __func__, sid);
    if (!m_Parser) {
        SI_LOG(LOG_PRIORITY_DEBUG, "CPMTParserKorvo::%s parser error (null)", __func__);
        return false;
    }
    TCPMTInstance* const instance = m_Parser->PMTInstance(sid);
    if (instance == nullptr) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31mCPMTParserKorvo::%s PMT instance not available\033[0m",
               __func__);
        return false;
    }
    return instance->IsValid();
}

bool CPMTParserKorvo::ProgramFound(unsigned short sid) {
    SI_LOG(LOG_PRIORITY_DEBUG, "%s sid=%d", __func__, sid);
    return Instance(m_Parser.get(), sid, SI_LOG_PLACE(__LINE__)) != nullptr;
}

int CPMTParserKorvo::NumOfElementary(unsigned short sid) {
    SI_LOG(LOG_PRIORITY_DEBUG, "%s sid=%d", __func__, sid);
    TCPMTInstance* const instance = Instance(m_Parser.get(), sid, SI_LOG_PLACE(__LINE__));
    if (instance == nullptr) {
        return 0;
    }
    return instance->NumOfElementary();
}

bool CPMTParserKorvo::IsElementaryNotApplication(unsigned short sid, int index) {
    TCPMTInstance* const instance = Instance(m_Parser.get(), sid, SI_LOG_PLACE(__LINE__));
    if (instance == nullptr) {
        return true;
    }
    TCPMTElementary* const stream = instance->PMTElementary(static_cast<unsigned int>(index));
    if (stream == nullptr || stream->StreamType() != kPrivateSections) {
        return true;
    }
    return stream->Descriptor(kApplicationSignallingTag, 0) == nullptr;
}

unsigned short CPMTParserKorvo::ElementaryPID(unsigned short sid, int index) {
    SI_LOG(LOG_PRIORITY_DEBUG, "%s sid=%d index=%d", __func__, sid, index);
    TCPMTInstance* const instance = Instance(m_Parser.get(), sid, SI_LOG_PLACE(__LINE__));
    if (instance == nullptr) {
        return 0;
    }
    TCPMTElementary* const stream = instance->PMTElementary(static_cast<unsigned int>(index));
    if (stream == nullptr) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31m%s Stream is not valid\033[0m", __func__);
        return 0;
    }
    return stream->ElementaryPID();
}

bool CPMTParserKorvo::GetCarouselID(unsigned char tag, unsigned long& carouselId) {
    SI_LOG(LOG_PRIORITY_DEBUG, "%s tag=%d", __func__, tag);
    const auto found = m_ServiceCarouselMap.find(tag);
    if (found == m_ServiceCarouselMap.end()) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31m%s tag (%d) not found\033[0m", __func__, tag);
        return false;
    }
    carouselId = found->second.m_carouselId;
    SI_LOG(LOG_PRIORITY_DEBUG, "%s tag found, carousel id=%lu", __func__, carouselId);
    return true;
}

bool CPMTParserKorvo::GetPID(unsigned char tag, unsigned short& pid) {
    SI_LOG(LOG_PRIORITY_DEBUG, "%s", __func__);
    const auto found = m_ServiceCarouselMap.find(tag);
    if (found == m_ServiceCarouselMap.end()) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31m%s tag (%d) not found\033[0m", __func__, tag);
        return false;
    }
    pid = found->second.m_pid;
    SI_LOG(LOG_PRIORITY_DEBUG, "%s tag found, pid=%d", __func__, pid);
    return true;
}

void CPMTParserKorvo::GetSSUInfo(unsigned int serviceId, unsigned int oui,
                                 std::list<std::unique_ptr<ISSUInfo>>& out) {
    for (const auto& entry : m_SSUInfoMap) {
        if (serviceId != kAny && serviceId != entry.first) {
            continue;
        }
        for (const std::unique_ptr<ISSUInfo>& info : entry.second) {
            if (!info || (oui != kAny && !info->ContainsOUI(oui))) {
                continue;
            }
            if (const auto* const ours = dynamic_cast<const CSSUInfo*>(info.get())) {
                out.push_back(std::make_unique<CSSUInfo>(*ours));
            }
        }
    }
}

unsigned short CPMTParserKorvo::ProgramNumber() {
    return m_Parser ? m_Parser->ProgramNumber() : static_cast<unsigned short>(0);
}

void CPMTParserKorvo::GetCASystemIds(std::set<unsigned short>& out) {
    out = m_CASystemIds;
}

}  // namespace TORVEL_MW
