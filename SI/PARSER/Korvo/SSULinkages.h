#pragma once

#include <memory>
#include <vector>

#include "SI/Include/ISSULinkageDesc.h"
#include "SI/Include/ISSUScanLinkageDesc.h"

class IDescriptorContainer;

namespace TORVEL_MW {

/// The linkages to system software updates (ETSI TS 102 006) of a network's or a bouquet's
/// descriptors. The snapshots `CNITInstance` and `CBATInstance` hold one each.
struct SSULinkages {
    /// Copies the linkages from the descriptors of a platform's sub-table. Writes no log line.
    explicit SSULinkages(IDescriptorContainer& descriptors);

    /// These do what `INITInstance` and `IBATInstance` say at their queries of the same names.
    void GetSSULinkageDesc(unsigned int oui,
                           std::vector<std::unique_ptr<ISSULinkageDesc>>& out) const;
    void GetSSUScanLinkageDesc(std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) const;

    std::vector<std::unique_ptr<ISSULinkageDesc>> m_ssuLinkages;          // linkage_type 0x09
    std::vector<std::unique_ptr<ISSUScanLinkageDesc>> m_ssuScanLinkages;  // linkage_type 0x0A
};

}  // namespace TORVEL_MW
