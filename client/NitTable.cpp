#include "client/NitTable.h"

#include <set>

#include "client/Linkages.h"
#include "client/Records.h"
#include "client/SubTableReader.h"
#include "client/TableIds.h"
#include "platform/TCDescNetworkName.h"
#include "platform/TVSHandle.h"

namespace client {

namespace {
constexpr int kNetworkNameTag = 0x40;
}  // namespace

NitTable::NitTable(bool isActual)
    : isActual_(isActual),
      parser_(TORVEL_MW::INITParser::CreateNITParser(isActual)),
      platformParser_(isActual ? kNitActualTableId : kNitOtherTableId, TVSHandle(1, 0)) {
    parser_->Initialize();
}

NitTable::Key NitTable::KeyOf(unsigned short, const unsigned char* data, unsigned short) {
    return SectionHeader(data).tableIdExtension;
}

bool NitTable::Take(unsigned short pid, unsigned char* data, Snapshot& network) {
    if (!parser_->Parse(pid, data) || !platformParser_.Parse(static_cast<short>(pid), data)) {
        return false;
    }
    const auto networkId = static_cast<unsigned short>(KeyOf(pid, data, 0));
    if (!parser_->IsRecv(networkId)) {
        return false;
    }
    const auto instance = parser_->GetInstance(networkId);
    TCDVBNITInstance& platformInstance = *platformParser_.GetInstance(networkId);
    network.networkId = networkId;
    network.isActual = isActual_;
    network.version = platformInstance.VersionNumber();
    if (const auto* const name =
            dynamic_cast<TCDescNetworkName*>(platformInstance.Descriptor(kNetworkNameTag, 0))) {
        network.name = Utf8(name->Name());
    }
    network.ssuLinkages = SsuLinkagesOf(*instance);
    network.ssuScanLinkages = SsuScanLinkagesOf(*instance);
    std::set<std::pair<int, int>> seen;
    for (int index = 0; index < platformInstance.NumOfDVBItemMux(); ++index) {
        const TCDVBItemMux& mux =
            *platformInstance.DVBItemMuxOfIndex(static_cast<unsigned int>(index));
        TransportStream stream{mux.OriginalNetworkId(), mux.TransportStreamId(), {}};
        // Entries of the same transport stream share their delivery descriptors in the SI layer.
        if (seen.emplace(stream.originalNetworkId, stream.transportStreamId).second) {
            instance->GetDeliveryDescs(mux.OriginalNetworkId(), mux.TransportStreamId(),
                                       stream.delivery);
            network.transportStreams.push_back(std::move(stream));
        }
    }
    return true;
}

}  // namespace client
