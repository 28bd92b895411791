#include "client/NitTable.h"

#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "SI/Include/IDeliveryDesc.h"
#include "SI/Include/INITParser.h"
#include "client/Linkages.h"
#include "client/Records.h"
#include "client/TableIds.h"
#include "platform/TCDVBNITParser.h"
#include "platform/TCDescNetworkName.h"
#include "platform/TVSHandle.h"

namespace client {

namespace {

constexpr int kNetworkNameTag = 0x40;

std::optional<Network> ReadNetwork(bool isActual, unsigned short pid, Sections& sections) {
    const auto parser = TORVEL_MW::INITParser::CreateNITParser(isActual);
    TCDVBNITParser platformParser(isActual ? kNitActualTableId : kNitOtherTableId, TVSHandle(1, 0));
    parser->Initialize();
    if (sections.empty() || !ParseAll(pid, sections, *parser, &platformParser)) {
        return std::nullopt;
    }
    const unsigned short networkId =
        SectionHeader(sections.begin()->second.data()).tableIdExtension;
    if (!parser->IsRecv(networkId)) {
        return std::nullopt;
    }
    const auto instance = parser->GetInstance(networkId);
    TCDVBNITInstance& platformInstance = *platformParser.GetInstance(networkId);
    Network network{};
    network.networkId = networkId;
    network.isActual = isActual;
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
        // When a NIT lists a transport stream twice, the SI layer returns the delivery systems of
        // both entries together.
        if (!seen.emplace(stream.originalNetworkId, stream.transportStreamId).second) {
            continue;
        }
        std::vector<std::shared_ptr<TORVEL_MW::IDeliveryDesc>> delivery;
        instance->GetDeliveryDescs(mux.OriginalNetworkId(), mux.TransportStreamId(), delivery);
        std::optional<unsigned int> noSpecifier;
        for (const auto& desc : delivery) {
            AddBroadcast(*desc->PlatformDesc(), noSpecifier, stream.delivery);
        }
        stream.delivery.ShrinkToFit();
        network.transportStreams.push_back(std::move(stream));
    }
    network.transportStreams.shrink_to_fit();
    return network;
}

}  // namespace

template <bool isActual>
std::optional<Network> NitTable<isActual>::Read(unsigned short pid, Sections& sections) {
    return ReadNetwork(isActual, pid, sections);
}

template struct NitTable<true>;
template struct NitTable<false>;

}  // namespace client
