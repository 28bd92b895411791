#pragma once

#include <memory>
#include <string>

#include "softplatform/base/Counters.h"
#include "softplatform/input/RtpSequence.h"
#include "softplatform/input/UdpSource.h"

namespace tvservice {

// A live transport stream in RTP over UDP (RFC 2250 2). Gives the payload of the RTP packets in the
// order of their sequence numbers (RtpSequence). Datagrams that are not RTP data packets are
// counted (kMalformedDatagrams) and dropped.
class RtpSource final : public UdpSource {
  public:
    // The same as UdpSource::Open, for "rtp://...".
    static std::shared_ptr<RtpSource> Open(const std::string& uri, std::string& error,
                                           Counters& counters = ReceiverCounters());

  private:
    RtpSource(std::string uri, std::unique_ptr<UdpSocket> socket, Counters& counters);

    UdpSocket::Received Next() override;

    RtpSequence sequence_;
};

}  // namespace tvservice
