#pragma once

#include <memory>
#include <set>

#include "ISectionParser.h"

namespace TORVEL_MW {

/// Conditional access table (ISO/IEC 13818-1 2.4.4.6).
class TORVELSI_API ICATParser : public ISectionParser {
  public:
    /// True when all sections of the table have been parsed.
    virtual bool IsComplete() = 0;

    /// Replaces `out` by the CA_system_IDs of all sections parsed since `Initialize`, those of
    /// earlier versions included.
    virtual void GetCASystemIds(std::set<unsigned short>& out) = 0;

    /// A new parser, owned by the caller; never null.
    static std::unique_ptr<ICATParser> CreateCATParser();
};

}  // namespace TORVEL_MW
