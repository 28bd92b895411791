#pragma once

#include <memory>
#include <string>

#include "softplatform/base/Counters.h"
#include "softplatform/input/RtpSequence.h"
#include "softplatform/input/UdpSource.h"

namespace tvservice {

// A transport stream in RTP over UDP (RFC 2250 2): live, without an end. The packets' payload, in
// the order of their sequence numbers as far as RtpSequence restores it: packets after a missing
// one are kept until it has come or counts as lost. Datagrams that are not RTP data packets are
// counted (kMalformedDatagrams) and left out.
class RtpSource final : public UdpSource {
  public:
    // As UdpSource::Open, for "rtp://...".
    static std::shared_ptr<RtpSource> Open(const std::string& uri, std::string& error,
                                           Counters& counters = ReceiverCounters());

  private:
    RtpSource(std::string uri, std::unique_ptr<UdpSocket> socket, Counters& counters);

    UdpSocket::Received Next() override;

    RtpSequence sequence_;
};

}  // namespace tvservice
