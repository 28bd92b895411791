#pragma once

/// The criteria of a table filter: all sections with one table_id on one PID.
///
/// Default-constructed, then filled by the caller, who owns it; the platform reads it during
/// `ISectionSubscriber::SubscribeTable` and keeps no reference.
struct TCSectionCriteriaHelper {
    unsigned short m_pid = 0;      ///< 13-bit PID; larger values match no packet
    unsigned short m_tableId = 0;  ///< table_id, 0 to 255
    unsigned int m_reserved = 0;   ///< always 0
    unsigned int m_selector = 2;   ///< 1: sections from the platform's cache, then live; 2: live
    unsigned char m_flag = 0;      ///< 1 in every request of the SI layer
};
