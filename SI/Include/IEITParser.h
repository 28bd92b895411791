#pragma once

#include <memory>
#include <vector>

#include "ISectionParser.h"

namespace TORVEL_MW {

/// Event information table, present/following of the actual transport stream (ETSI EN 300 468
/// 5.2.4, table_id 0x4E).
class TORVELSI_API IEITParser : public ISectionParser {
  public:
    /// One saved descriptor of an event, with the fields of `ISIDescriptor`.
    ///
    /// The extended tag is the byte behind descriptor_tag_extension, not that byte itself: clients
    /// rely on it.
    struct EITDescriptor {
        unsigned char m_tag;                  ///< descriptor_tag
        bool m_hasPrivateDataSpecifier;       ///< one came before it in the same loop
        unsigned int m_privateDataSpecifier;  ///< the latest one before it; 0 when none
        bool m_hasExtendedTag;                ///< the tag is 0x7F and `m_data` has 3 bytes or more
        unsigned char m_extendedTag;          ///< the byte at index 3 of `m_data`, 0 without one
        std::vector<unsigned char> m_data;    ///< the whole descriptor, tag and length bytes first
    };

    /// True as soon as one section of that service has been parsed, whether or not others are
    /// missing.
    virtual bool IsComplete(unsigned short onid, unsigned short tsid, unsigned short sid) = 0;

    /// Replaces `out` by the descriptors of the first event of the section that was parsed last.
    ///
    /// The three ids do not choose a section: for the present event of a service, parse section 0
    /// of its EIT and then ask. Private data specifier descriptors are not returned themselves;
    /// they show in the records of the descriptors behind them.
    ///
    /// @return false, with `out` untouched, when that section has no event
    virtual bool GetDescriptors(unsigned short onid, unsigned short tsid, unsigned short sid,
                                std::vector<EITDescriptor>& out) = 0;

    /// A new parser, owned by the caller; never null.
    static std::unique_ptr<IEITParser> CreateEITParser();
};

}  // namespace TORVEL_MW
