#pragma once

#include <memory>
#include <vector>

#include "SI/Include/ISSULinkageDesc.h"
#include "SI/Include/ISSUScanLinkageDesc.h"
#include "client/Multiplex.h"
#include "client/Records.h"

namespace client {

/// The SSU linkages of a snapshot of the SI layer (`INITInstance`, `IBATInstance`). Broadcasters
/// may repeat a linkage in every section; the result has each once.
template <class Instance>
std::vector<SsuLinkage> SsuLinkagesOf(Instance& instance) {
    std::vector<std::unique_ptr<TORVEL_MW::ISSULinkageDesc>> descs;
    instance.GetSSULinkageDesc(kAny, descs);
    Distinct<SsuLinkage> linkages;
    for (const auto& desc : descs) {
        unsigned short onid = 0;
        unsigned short tsid = 0;
        unsigned short sid = 0;
        desc->GetLocation(onid, tsid, sid);
        linkages.Add({onid, tsid, sid, OffersOf(*desc)});
    }
    return linkages.Release();
}

/// The SSU scan linkages of a snapshot. The result has each once.
template <class Instance>
std::vector<SsuScanLinkage> SsuScanLinkagesOf(Instance& instance) {
    std::vector<std::unique_ptr<TORVEL_MW::ISSUScanLinkageDesc>> descs;
    instance.GetSSUScanLinkageDesc(descs);
    Distinct<SsuScanLinkage> linkages;
    for (const auto& desc : descs) {
        bool isNit = false;
        unsigned short onid = 0;
        unsigned short tsid = 0;
        unsigned short sid = 0;
        desc->GetLocation(isNit, onid, tsid, sid);
        linkages.Add({isNit, onid, tsid, sid});
    }
    return linkages.Release();
}

}  // namespace client
