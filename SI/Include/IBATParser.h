#pragma once

#include <list>
#include <memory>
#include <vector>

#include "ISSULinkageDesc.h"
#include "ISSUScanLinkageDesc.h"
#include "ISectionParser.h"

namespace TORVEL_MW {

/// A snapshot of one bouquet's table (ETSI EN 300 468 5.2.2). It outlives its parser and never
/// changes. One thread at a time may use it, whichever that is.
class TORVELSI_API IBATInstance {
  public:
    virtual ~IBATInstance() = default;

    /// Appends copies of the SSU linkages (linkage_type 0x09) of the bouquet descriptors, in loop
    /// order. A linkage that the broadcaster repeats in several sections appears once for each.
    ///
    /// @param oui  only linkages that list this OUI are taken; 0xFFFFFFFF takes all
    /// @param out  receives them, owned by the caller; it is not emptied first
    virtual void GetSSULinkageDesc(unsigned int oui,
                                   std::vector<std::unique_ptr<ISSULinkageDesc>>& out) = 0;

    /// Appends copies of the SSU scan linkages (linkage_type 0x0A, table_type NIT or BAT).
    virtual void GetSSUScanLinkageDesc(std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) = 0;

    /// @param bouquetId       receives the bouquet_id
    /// @param tableAttribute  receives the platform's attribute of every table instance
    virtual void GetInfo(unsigned short& bouquetId, unsigned char& tableAttribute) = 0;
};

/// Bouquet association tables (ETSI EN 300 468 5.2.2, table_id 0x4A).
class TORVELSI_API IBATParser : public ISectionParser {
  public:
    /// Appends the bouquet_id of every bouquet of which a section has been parsed. The list is
    /// the platform's to fill: the software platform does not empty it first, a receiver's may.
    virtual void BouquetIds(std::list<unsigned short>& ids) = 0;

    /// bouquet_id of the section parsed last; 0 before the first one.
    virtual unsigned short BouquetId() = 0;

    /// True when the platform says that all bouquets are complete; false while it knows none.
    virtual bool AllSubtablesReceived() = 0;

    /// True when all sections of that bouquet's table have been parsed.
    virtual bool IsRecv(unsigned short bouquetId) = 0;

    /// A snapshot of that bouquet's table as it is now, complete or not; owned by the caller. Empty
    /// when no section of it has been parsed.
    virtual std::unique_ptr<IBATInstance> GetInstance(unsigned short bouquetId) = 0;

    /// A new parser, owned by the caller; never null.
    static std::unique_ptr<IBATParser> CreateBATParser();
};

}  // namespace TORVEL_MW
