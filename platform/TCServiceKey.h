#pragma once

/// Identifies one service: the key of `TCDVBEITParser::EITInstance` (ETSI EN 300 468 5.2.4).
struct TCServiceKey {
    unsigned short m_originalNetworkId;
    unsigned short m_transportStreamId;
    unsigned short m_serviceId;

    constexpr TCServiceKey(unsigned short originalNetworkId, unsigned short transportStreamId,
                           unsigned short serviceId)
        : m_originalNetworkId(originalNetworkId),
          m_transportStreamId(transportStreamId),
          m_serviceId(serviceId) {}
};
