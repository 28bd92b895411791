#pragma once

#include "Export.h"

namespace TORVEL_MW {

/// A linkage to a transport stream whose NIT or BAT lists system software updates (ETSI TS 102 006
/// 6.3, linkage_type 0x0A). A record never changes after it was made, and takes no lock.
class TORVELSI_API ISSUScanLinkageDesc {
  public:
    virtual ~ISSUScanLinkageDesc() = default;

    /// True when both are of the same implementation and link to the same table and place.
    virtual bool operator==(const ISSUScanLinkageDesc& other) const = 0;

    /// @param tableIsNIT  receives true for a NIT, false for a BAT
    virtual void GetLocation(bool& tableIsNIT, unsigned short& onid, unsigned short& tsid,
                             unsigned short& sid) = 0;
};

}  // namespace TORVEL_MW
