#include "client/SdtTable.h"

#include <set>

#include "client/Records.h"
#include "client/SubTableReader.h"
#include "client/TableIds.h"
#include "platform/TCDescService.h"
#include "platform/TVSHandle.h"

namespace client {

namespace {
constexpr unsigned char kServiceTag = 0x48;
}  // namespace

SdtTable::SdtTable()
    : parser_(TORVEL_MW::ISDTParser::CreateSDTParser()),
      platformParser_(kSdtActualTableId, TVSHandle(1, 0)) {
    parser_->Initialize();
}

SdtTable::Key SdtTable::KeyOf(unsigned short, const unsigned char* data, unsigned short length) {
    // ETSI EN 300 468 5.2.3: original_network_id behind the header
    const unsigned int onid = length >= 10 ? static_cast<unsigned int>(data[8] << 8 | data[9]) : 0;
    return {onid, SectionHeader(data).tableIdExtension};
}

bool SdtTable::Take(unsigned short pid, unsigned char* data, Snapshot& services) {
    if (!parser_->Parse(pid, data) || !platformParser_.Parse(static_cast<short>(pid), data)) {
        return false;
    }
    TCDVBSDTInstance& instance = *platformParser_.DVBSDTFirstInstance();
    const unsigned short onid = instance.OriginalNetworkId();
    const unsigned short tsid = instance.TransportStreamId();
    if (!parser_->IsComplete(onid, tsid)) {
        return false;
    }
    std::set<unsigned short> seen;
    for (int index = 0; index < instance.NumOfDVBSDTItemService(); ++index) {
        const TCDVBSDTItemService& item =
            *instance.DVBSDTItemServiceOfIndex(static_cast<unsigned int>(index));
        // Entries of the same service share their descriptors in the SI layer.
        if (!seen.insert(item.ServiceId()).second) {
            continue;
        }
        Service service{};
        service.originalNetworkId = onid;
        service.transportStreamId = tsid;
        service.serviceId = item.ServiceId();
        service.runningStatus = item.RunningStatus();
        service.freeCaMode = item.FreeCAMode();
        service.hasPresentFollowing = item.EITPresentFollowingFlag();
        std::vector<TORVEL_MW::ISDTParser::SDTDescriptor> saved;
        parser_->GetDescriptors(onid, tsid, item.ServiceId(), saved);
        for (const auto& descriptor : saved) {
            service.descriptors.push_back(ToDescriptor(descriptor));
        }
        if (const auto desc = FirstOf<TCDescService>(service.descriptors, kServiceTag)) {
            service.name = Utf8(desc->ServiceName());
            service.provider = Utf8(desc->ServiceProviderName());
            service.serviceType = desc->ServiceType();
        }
        services.push_back(std::move(service));
    }
    return true;
}

}  // namespace client
