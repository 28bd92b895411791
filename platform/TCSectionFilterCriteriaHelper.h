#pragma once

#include <vector>

/// The criteria of a byte filter: sections on one PID that match a pattern from their first byte
/// on.
///
/// Element i of the vectors is compared with byte i of the section, including bytes 1 and 2
/// (section_length). Only bits whose mask bit is 1 are compared. Where the mode bit is 0, the
/// section's bit must equal the pattern's. Of all compared bits with mode bit 1, at least one must
/// differ. An empty mode vector means mode 0 for all bits.
///
/// Default-constructed, then filled by the caller, who owns it; the platform reads it during
/// `ISectionSubscriber::SubscribeFilter` and keeps no reference. The SI layer passes the vectors of
/// its client on without a check. The platform must refuse an empty pattern, a mask of another
/// length than the pattern, and a mode vector that is neither empty nor of that length.
struct TCSectionFilterCriteriaHelper {
    unsigned short m_pid = 0;             ///< 13-bit PID; larger values match no packet
    std::vector<unsigned char> m_filter;  ///< the pattern
    std::vector<unsigned char> m_mask;    ///< 1 for each bit that is compared
    std::vector<unsigned char> m_mode;    ///< 0: must be equal; 1: at least one must differ
    unsigned char m_flag = 0;             ///< 1 in every request of the SI layer
};
