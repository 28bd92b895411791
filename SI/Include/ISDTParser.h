#pragma once

#include <memory>
#include <vector>

#include "ISectionParser.h"

namespace TORVEL_MW {

/// Service description table of the actual transport stream (ETSI EN 300 468 5.2.3, table_id
/// 0x42).
class TORVELSI_API ISDTParser : public ISectionParser {
  public:
    /// One saved descriptor of a service, as `SIDescriptor` has it.
    struct SDTDescriptor {
        unsigned char m_tag;                  ///< descriptor_tag
        bool m_hasPrivateDataSpecifier;       ///< a private data specifier stood before it
        unsigned int m_privateDataSpecifier;  ///< the latest one; 0 when none
        bool m_hasExtendedTag;                ///< tag 0x7F and at least 3 bytes saved
        unsigned char m_extendedTag;          ///< byte 3 of `m_data`, 0 without one
        std::vector<unsigned char> m_data;    ///< the whole descriptor, tag and length bytes first
    };

    /// True when all sections of the sub-table of that transport stream have been parsed.
    virtual bool IsComplete(unsigned short onid, unsigned short tsid) = 0;

    /// True when the sub-table of that transport stream lists the service (the low 16 bits of
    /// `sid`). Each false is reported in the log: to enumerate, ask the platform's parser.
    virtual bool IsServiceListed(unsigned short onid, unsigned short tsid, int sid) = 0;

    /// Replaces `out` by the descriptors of a service in loop order, without the private data
    /// specifiers themselves.
    ///
    /// Only the sub-table that was begun first is kept, as of the last section that was parsed.
    /// @return whether there are any; when false `out` is empty
    virtual bool GetDescriptors(unsigned short onid, unsigned short tsid, unsigned short sid,
                                std::vector<SDTDescriptor>& out) = 0;

    /// A new parser, owned by the caller; never null.
    static std::unique_ptr<ISDTParser> CreateSDTParser();
};

}  // namespace TORVEL_MW
