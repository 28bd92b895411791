#pragma once

#include <memory>
#include <vector>

#include "ISectionParser.h"

namespace TORVEL_MW {

/// Event information table, present/following of the actual transport stream (ETSI EN 300 468
/// 5.2.4, table_id 0x4E).
class TORVELSI_API IEITParser : public ISectionParser {
  public:
    /// One saved descriptor of an event, as `SIDescriptor` has it.
    struct EITDescriptor {
        unsigned char m_tag;                  ///< descriptor_tag
        bool m_hasPrivateDataSpecifier;       ///< a private data specifier stood before it
        unsigned int m_privateDataSpecifier;  ///< the latest one; 0 when none
        bool m_hasExtendedTag;                ///< tag 0x7F and at least 3 bytes saved
        unsigned char m_extendedTag;          ///< byte 3 of `m_data`, 0 without one
        std::vector<unsigned char> m_data;    ///< the whole descriptor, tag and length bytes first
    };

    /// True as soon as one section of that service has been parsed, whether or not others are
    /// missing.
    virtual bool IsComplete(unsigned short onid, unsigned short tsid, unsigned short sid) = 0;

    /// Replaces `out` by the descriptors of the first event of the section parsed last, whatever
    /// service it was of, without the private data specifiers themselves. The present event of a
    /// service is in its section 0.
    ///
    /// @return false, with `out` untouched, when that section has no event
    virtual bool GetDescriptors(unsigned short onid, unsigned short tsid, unsigned short sid,
                                std::vector<EITDescriptor>& out) = 0;

    /// A new parser, owned by the caller; never null.
    static std::unique_ptr<IEITParser> CreateEITParser();
};

}  // namespace TORVEL_MW
