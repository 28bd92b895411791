#pragma once

namespace TORVEL_MW {

/// The key of one service (ETSI EN 300 468 5.2.3), ordered by original_network_id, then
/// transport_stream_id, then service_id.
struct ServiceTriplet {
    unsigned short m_onid;  ///< original_network_id
    unsigned short m_tsid;  ///< transport_stream_id
    unsigned short m_sid;   ///< service_id

    ServiceTriplet() : ServiceTriplet(0, 0, 0) {}
    ServiceTriplet(unsigned short onid, unsigned short tsid, unsigned short sid)
        : m_onid(onid), m_tsid(tsid), m_sid(sid) {}

    bool operator<(const ServiceTriplet& other) const {
        if (m_onid != other.m_onid) {
            return m_onid < other.m_onid;
        }
        if (m_tsid != other.m_tsid) {
            return m_tsid < other.m_tsid;
        }
        return m_sid < other.m_sid;
    }
};

}  // namespace TORVEL_MW
