#pragma once

#include <list>
#include <memory>
#include <vector>

#include "IDeliveryDesc.h"
#include "ISSULinkageDesc.h"
#include "ISSUScanLinkageDesc.h"
#include "ISectionParser.h"

namespace TORVEL_MW {

/// A snapshot of one network's table (ETSI EN 300 468 5.2.1). It outlives its parser and never
/// changes. One thread at a time may use it, whichever that is.
class TORVELSI_API INITInstance {
  public:
    virtual ~INITInstance() = default;

    /// Appends copies of the SSU linkages (linkage_type 0x09) of the network descriptors, in loop
    /// order.
    ///
    /// @param oui  only linkages that list this OUI are taken; 0xFFFFFFFF takes all
    /// @param out  receives them, owned by the caller; it is not emptied first
    virtual void GetSSULinkageDesc(unsigned int oui,
                                   std::vector<std::unique_ptr<ISSULinkageDesc>>& out) = 0;

    /// Appends copies of the SSU scan linkages (linkage_type 0x0A, table_type NIT or BAT).
    virtual void GetSSUScanLinkageDesc(std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) = 0;

    /// @param networkId       receives the network_id
    /// @param nitAttribute    receives the platform's attribute of NIT instances
    /// @param tableAttribute  receives the platform's attribute of every table instance
    virtual void GetInfo(unsigned short& networkId, unsigned char& nitAttribute,
                         unsigned char& tableAttribute) = 0;

    /// Replaces `out` by the delivery systems of a transport stream, in loop order; the objects are
    /// shared. `out` is untouched when the transport stream has none.
    virtual void GetDeliveryDescs(unsigned short onid, unsigned short tsid,
                                  std::vector<std::shared_ptr<IDeliveryDesc>>& out) = 0;
};

/// Network information tables (ETSI EN 300 468 5.2.1) of the actual network or of others.
class TORVELSI_API INITParser : public ISectionParser {
  public:
    /// Appends the network_id of every network of which a section has been parsed. The list is
    /// the platform's to fill: the software platform does not empty it first, a receiver's may.
    virtual void NetworkIds(std::list<unsigned short>& ids) = 0;

    /// True when all sections of that network's table have been parsed.
    virtual bool IsRecv(unsigned short networkId) = 0;

    /// A snapshot of that network's table as it is now, complete or not; owned by the caller. Empty
    /// when no section of it has been parsed.
    virtual std::unique_ptr<INITInstance> GetInstance(unsigned short networkId) = 0;

    /// A new parser, owned by the caller; never null.
    /// @param actual  true for the actual network (table_id 0x40), false for others (0x41)
    static std::unique_ptr<INITParser> CreateNITParser(bool actual);
};

}  // namespace TORVEL_MW
