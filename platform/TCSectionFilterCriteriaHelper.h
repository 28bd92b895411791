#pragma once

#include <vector>

/// What a byte filter asks for: sections on one PID that match a pattern from their first byte on.
///
/// Position i of the vectors is byte i of the section; bytes 1 and 2 (section_length) count as
/// positions. Per bit under the mask, mode 0: the section's bit must equal the pattern's; mode 1:
/// of all such bits at least one must differ. An empty mode vector means mode 0 throughout.
///
/// Default-constructed, then filled by the caller, who owns it; the platform reads it during
/// `ISectionSubscriber::SubscribeFilter` and keeps no reference. The vectors arrive as the SI
/// layer's client passed them, unchecked: an empty pattern, a mask of another length and a mode
/// vector that is neither empty nor of that length are the platform's to refuse.
struct TCSectionFilterCriteriaHelper {
    unsigned short m_pid = 0;             ///< 13-bit PID; larger values match no packet
    std::vector<unsigned char> m_filter;  ///< the bytes to compare with
    std::vector<unsigned char> m_mask;    ///< which bits count
    std::vector<unsigned char> m_mode;    ///< how they count
    unsigned char m_flag = 0;             ///< 1 in every request of the SI layer
};
