#pragma once

#include <memory>
#include <vector>

#include "ISectionParser.h"

namespace TORVEL_MW {

/// Service description table of the actual transport stream (ETSI EN 300 468 5.2.3, table_id
/// 0x42).
class TORVELSI_API ISDTParser : public ISectionParser {
  public:
    /// One saved descriptor of a service, with the fields of `ISIDescriptor`.
    ///
    /// The extended tag is the byte behind descriptor_tag_extension, not that byte itself: clients
    /// rely on it.
    struct SDTDescriptor {
        unsigned char m_tag;                  ///< descriptor_tag
        bool m_hasPrivateDataSpecifier;       ///< one came before it in the same loop
        unsigned int m_privateDataSpecifier;  ///< the latest one before it; 0 when none
        bool m_hasExtendedTag;                ///< the tag is 0x7F and `m_data` has 3 bytes or more
        unsigned char m_extendedTag;          ///< the byte at index 3 of `m_data`, 0 without one
        std::vector<unsigned char> m_data;    ///< the whole descriptor, tag and length bytes first
    };

    /// True when all sections of the sub-table of that transport stream have been parsed.
    virtual bool IsComplete(unsigned short onid, unsigned short tsid) = 0;

    /// True when the sub-table of that transport stream lists the service (the low 16 bits of
    /// `sid`). Every false writes error lines to the log, so do not try out service_ids with it.
    virtual bool IsServiceListed(unsigned short onid, unsigned short tsid, int sid) = 0;

    /// Replaces `out` by the descriptors of a service in loop order. Private data specifier
    /// descriptors are not returned themselves; they show in the records of those behind them.
    ///
    /// Only the transport stream whose section was parsed first since `Initialize` is known. Each
    /// accepted section rebuilds its records.
    ///
    /// @return whether there are any; when false, `out` is empty
    virtual bool GetDescriptors(unsigned short onid, unsigned short tsid, unsigned short sid,
                                std::vector<SDTDescriptor>& out) = 0;

    /// A new parser, owned by the caller; never null.
    static std::unique_ptr<ISDTParser> CreateSDTParser();
};

}  // namespace TORVEL_MW
