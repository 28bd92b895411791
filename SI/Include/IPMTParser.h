#pragma once

#include <list>
#include <memory>
#include <set>

#include "ISSUInfo.h"
#include "ISectionParser.h"

namespace TORVEL_MW {

/// What a PMT says of one DSM-CC stream. The parser keeps it by component_tag.
struct DataStreamAttributes {
    unsigned int m_carouselId;  ///< carousel_id; 0xFFFFFFFF without a carousel identifier
    unsigned short m_pid;       ///< elementary_PID
};

/// Program map tables (ISO/IEC 13818-1 2.4.4.8). `sid` is a program_number throughout.
///
/// Every accepted section adds its SSU offers to those that are kept, also a section that was
/// parsed before. So parse each distinct section once, or use a new parser for each version.
class TORVELSI_API IPMTParser : public ISectionParser {
  public:
    /// True when all sections of that program's PMT have been parsed: the platform calls its table
    /// valid.
    virtual bool IsComplete(unsigned short sid) = 0;

    /// True when any section of that program's PMT has been parsed, whether or not others are
    /// missing. The queries below answer from then on.
    virtual bool ProgramFound(unsigned short sid) = 0;

    /// How many elementary streams the program has; 0 when it is not known.
    virtual int NumOfElementary(unsigned short sid) = 0;

    /// False for a stream of private sections (stream_type 0x05) with an
    /// application_signalling_descriptor; true for every other stream, and when there is no such
    /// program or stream.
    virtual bool IsElementaryNotApplication(unsigned short sid, int index) = 0;

    /// elementary_PID of the stream at `index`; 0 when there is none.
    virtual unsigned short ElementaryPID(unsigned short sid, int index) = 0;

    /// The carousel_id of the DSM-CC stream with a component_tag, over all programs parsed.
    ///
    /// @param carouselId  receives it, 4294967295 for a stream without a carousel identifier;
    ///                    untouched when there is no such stream
    /// @return whether there is one
    virtual bool GetCarouselID(unsigned char tag, unsigned long& carouselId) = 0;

    /// The elementary_PID of the DSM-CC stream with a component_tag; `pid` is untouched when there
    /// is none.
    virtual bool GetPID(unsigned char tag, unsigned short& pid) = 0;

    /// Appends copies of the SSU offers (ETSI TS 102 006), ascending by program_number.
    ///
    /// @param serviceId  the program_number; a value above 65535 matches none, but 0xFFFFFFFF takes
    ///                   every program
    /// @param oui        only offers that list this OUI are taken; 0xFFFFFFFF takes all
    /// @param out        receives them, owned by the caller; it is not emptied first
    virtual void GetSSUInfo(unsigned int serviceId, unsigned int oui,
                            std::list<std::unique_ptr<ISSUInfo>>& out) = 0;

    /// program_number of the section parsed last; 0 before the first one.
    virtual unsigned short ProgramNumber() = 0;

    /// Replaces `out` by the CA_system_IDs of the section parsed last, of the program and of its
    /// streams.
    virtual void GetCASystemIds(std::set<unsigned short>& out) = 0;

    /// A new parser, owned by the caller; never null.
    static std::unique_ptr<IPMTParser> CreatePMTParser();
};

}  // namespace TORVEL_MW
