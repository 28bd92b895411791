#pragma once

#include <list>
#include <memory>
#include <set>

#include "ISSUInfo.h"
#include "ISectionParser.h"

namespace TORVEL_MW {

/// What the PMT tells of one DSM-CC stream; kept by component_tag.
struct DataStreamAttributes {
    unsigned int m_carouselId;  ///< carousel_id; 0xFFFFFFFF without a carousel identifier
    unsigned short m_pid;       ///< elementary_PID
};

/// Program map tables (ISO/IEC 13818-1 2.4.4.8). `sid` is a program_number throughout.
///
/// A parser that is fed one PMT repeatedly keeps its SSU offers as often: feed each distinct
/// section once, or use a fresh parser for each version.
class TORVELSI_API IPMTParser : public ISectionParser {
  public:
    /// True when the PMT of that program has been parsed.
    virtual bool IsComplete(unsigned short sid) = 0;

    /// True when a PMT of that program has been parsed.
    virtual bool ProgramFound(unsigned short sid) = 0;

    /// Elementary streams of the program; 0 when it is not known.
    virtual int NumOfElementary(unsigned short sid) = 0;

    /// False for a stream of private sections (stream_type 0x05) with an
    /// application_signalling_descriptor; true for every other stream, and for what is not there.
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
    /// @param serviceId  the program_number, all 32 bits of it; 0xFFFFFFFF for every program
    /// @param oui        offers that list this OUI; 0xFFFFFFFF for every offer
    /// @param out        receives them, owned by the caller; not emptied first
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
