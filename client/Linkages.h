#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "SI/Include/ISSULinkageDesc.h"
#include "SI/Include/ISSUScanLinkageDesc.h"
#include "client/Multiplex.h"
#include "client/Records.h"

namespace client {

/// The SSU linkages of a snapshot of the SI layer (`INITInstance`, `IBATInstance`), each once:
/// broadcasters repeat them in every section.
template <class Instance>
std::vector<SsuLinkage> SsuLinkagesOf(Instance& instance) {
    constexpr unsigned int kAnyOui = 0xFFFFFFFF;
    std::vector<std::unique_ptr<TORVEL_MW::ISSULinkageDesc>> descs;
    instance.GetSSULinkageDesc(kAnyOui, descs);
    std::vector<SsuLinkage> linkages;
    for (const auto& desc : descs) {
        unsigned short onid = 0;
        unsigned short tsid = 0;
        unsigned short sid = 0;
        desc->GetLocation(onid, tsid, sid);
        SsuLinkage linkage{onid, tsid, sid, OffersOf(*desc)};
        const bool isNew =
            std::none_of(linkages.begin(), linkages.end(), [&linkage](const SsuLinkage& known) {
                return known.originalNetworkId == linkage.originalNetworkId &&
                       known.transportStreamId == linkage.transportStreamId &&
                       known.serviceId == linkage.serviceId && known.offers == linkage.offers;
            });
        if (isNew) {
            linkages.push_back(std::move(linkage));
        }
    }
    return linkages;
}

/// The SSU scan linkages of a snapshot, each once.
template <class Instance>
std::vector<SsuScanLinkage> SsuScanLinkagesOf(Instance& instance) {
    std::vector<std::unique_ptr<TORVEL_MW::ISSUScanLinkageDesc>> descs;
    instance.GetSSUScanLinkageDesc(descs);
    std::vector<SsuScanLinkage> linkages;
    for (auto desc = descs.begin(); desc != descs.end(); ++desc) {
        const bool isNew = std::none_of(descs.begin(), desc,
                                        [&desc](const auto& known) { return *known == **desc; });
        if (isNew) {
            bool isNit = false;
            unsigned short onid = 0;
            unsigned short tsid = 0;
            unsigned short sid = 0;
            (*desc)->GetLocation(isNit, onid, tsid, sid);
            linkages.push_back({isNit, onid, tsid, sid});
        }
    }
    return linkages;
}

}  // namespace client
