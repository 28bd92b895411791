#pragma once

#include <vector>

namespace TORVEL_MW {

/// One received section with the id under which the platform delivered it.
struct SectionData {
    /// Copies `length` bytes of `data`, which stay the caller's. With a length of 0 `data` is not
    /// looked at and nothing is allocated.
    SectionData(int id, unsigned char* data, unsigned short length) : m_id(id) {
        if (length != 0) {
            m_data.assign(data, data + length);
        }
    }

    std::vector<unsigned char> m_data;  ///< the section from table_id on
    int m_id;                           ///< subscription id, as the platform passed it
};

}  // namespace TORVEL_MW
