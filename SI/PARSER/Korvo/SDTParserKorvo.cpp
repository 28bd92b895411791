#include "SI/PARSER/Korvo/SDTParserKorvo.h"

#include <utility>

#include "SI/Common/Log.h"
#include "SI/PARSER/Korvo/SavedDescriptor.h"
#include "platform/TVSHandle.h"

namespace TORVEL_MW {

namespace {
constexpr int kSdtActualTableId = 66;
}  // namespace

std::unique_ptr<ISDTParser> ISDTParser::CreateSDTParser() {
    std::unique_ptr<ISDTParser> parser = std::make_unique<CSDTParserKorvo>();
    parser->Create();
    return parser;
}

CSDTParserKorvo::~CSDTParserKorvo() {
    // The platform's parser is destroyed before the descriptors. Without this line it would be the
    // last, because it is the first member.
    m_Parser.reset();
}

bool CSDTParserKorvo::Create() {
    m_Parser = std::make_unique<TCDVBSDTParser>(kSdtActualTableId, TVSHandle(1, 0));
    return true;
}

bool CSDTParserKorvo::Parse(unsigned short pid, unsigned char* data) {
    if (!m_Parser || !m_Parser->Parse(static_cast<short>(pid), data)) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31m%s parser error\033[0m", __func__);
        return false;
    }
    m_BuildDescriptorsMap();
    return true;
}

void CSDTParserKorvo::m_BuildDescriptorsMap() {
    SI_LOG(LOG_PRIORITY_DEBUG, "CSDTParserKorvo::%s", __func__);
    // Moves the records of the last section out of the map and fills them anew, so that their
    // memory is used again. Records that are left over are freed at the end.
    std::multimap<ServiceTriplet, SDTDescriptor> spare;
    spare.swap(m_DescriptorsMap);
    TCDVBSDTInstance* const instance = m_Parser->DVBSDTFirstInstance();
    if (instance == nullptr) {
        SI_LOG(LOG_PRIORITY_ERROR,
               "\033[31mCSDTParserKorvo::%s. m_Parser->DVBSDTInstance() failed.\033[0m", __func__);
        return;
    }
    const unsigned short onid = instance->OriginalNetworkId();
    const unsigned short tsid = instance->TransportStreamId();
    for (int s = 0; s < instance->NumOfDVBSDTItemService(); ++s) {
        TCDVBSDTItemService* const service =
            instance->DVBSDTItemServiceOfIndex(static_cast<unsigned int>(s));
        if (service == nullptr) {
            SI_LOG(LOG_PRIORITY_ERROR,
                   "\033[31mCSDTParserKorvo::%s SDTParserInstance->DVBSDTItemServiceOfIndex(%d) "
                   "returned NULL service. Skipping\033[0m",
                   __func__, s);
            continue;
        }
        const ServiceTriplet key(onid, tsid, service->ServiceId());
        SI_LOG(LOG_PRIORITY_DEBUG, "CSDTParserKorvo::%s onid: %d, tsid: %d, sid: %d", __func__,
               onid, tsid, key.m_sid);
        PrivateDataState state;
        for (int d = 0; d < service->NumOfDescriptors(); ++d) {
            if (spare.empty()) {
                spare.emplace(key, SDTDescriptor());
            }
            SDTDescriptor& record = spare.begin()->second;
            if (!SaveDescriptor(service->DescriptorByIndex(static_cast<unsigned int>(d)), state,
                                record)) {
                continue;
            }
            SI_LOG(LOG_PRIORITY_DEBUG,
                   "CSDTParserKorvo::%s Saving descriptor Tag: 0x%x, Size: %d, Extended? %s, "
                   "Private? %s",
                   __func__, record.m_tag, static_cast<int>(record.m_data.size()),
                   record.m_hasExtendedTag ? "Yes" : "No",
                   record.m_hasPrivateDataSpecifier ? "Yes" : "No");
            auto node = spare.extract(spare.begin());
            node.key() = key;
            m_DescriptorsMap.insert(std::move(node));  // after the records with the same key
        }
    }
}

void CSDTParserKorvo::Initialize() {
    if (m_Parser) {
        m_Parser->Reset();
    }
    m_DescriptorsMap.clear();
}

bool CSDTParserKorvo::IsComplete(unsigned short onid, unsigned short tsid) {
    if (!m_Parser) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31m%s parser error (null)\033[0m", __func__);
        return false;
    }
    TCDVBSDTInstance* const instance = m_Parser->DVBSDTInstance(onid, tsid);
    if (instance == nullptr) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31m%s SDT instance not available\033[0m", __func__);
        return false;
    }
    return instance->IsValid();
}

bool CSDTParserKorvo::IsServiceListed(unsigned short onid, unsigned short tsid, int sid) {
    TCDVBSDTInstance* const instance = m_Parser ? m_Parser->DVBSDTInstance(onid, tsid) : nullptr;
    if (instance == nullptr) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31m%s SDT instance not available\033[0m", __func__);
        return false;
    }
    if (instance->DVBSDTItemServiceBySID(static_cast<unsigned short>(sid)) == nullptr) {
        SI_LOG(LOG_PRIORITY_ERROR,
               "\033[31mSDT does not contain a reference to the currently tuned service\033[0m");
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31mThis must be a non MPEG broadcast service\033[0m");
        return false;
    }
    return true;
}

bool CSDTParserKorvo::GetDescriptors(unsigned short onid, unsigned short tsid, unsigned short sid,
                                     std::vector<SDTDescriptor>& out) {
    out.clear();
    const auto range = m_DescriptorsMap.equal_range(ServiceTriplet(onid, tsid, sid));
    for (auto entry = range.first; entry != range.second; ++entry) {
        out.push_back(entry->second);
    }
    return range.first != range.second;
}

}  // namespace TORVEL_MW
