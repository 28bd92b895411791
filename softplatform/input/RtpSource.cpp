#include "softplatform/input/RtpSource.h"

#include <optional>
#include <utility>

#include "softplatform/input/RtpPacket.h"

namespace tvservice {

std::shared_ptr<RtpSource> RtpSource::Open(const std::string& uri, std::string& error,
                                           Counters& counters) {
    std::unique_ptr<UdpSocket> socket = OpenSocket(uri, error, counters);
    return socket ? std::shared_ptr<RtpSource>(new RtpSource(uri, std::move(socket), counters))
                  : nullptr;
}

RtpSource::RtpSource(std::string uri, std::unique_ptr<UdpSocket> socket, Counters& counters)
    : UdpSource(std::move(uri), std::move(socket), counters), sequence_(counters) {}

UdpSocket::Received RtpSource::Next() {
    for (bool mayReceive = true;; mayReceive = socket().HasNext()) {
        while (const std::optional<ByteView> payload = sequence_.Pop()) {
            if (!payload->empty()) {
                return {UdpSocket::Received::kDatagram, *payload};
            }
        }
        if (!mayReceive) {
            return {UdpSocket::Received::kNothing};
        }
        const UdpSocket::Received received = socket().Receive();
        if (received.status != UdpSocket::Received::kDatagram) {
            return received;
        }
        if (const std::optional<RtpPacket> packet = RtpPacket::From(received.datagram)) {
            sequence_.Push(*packet);
        } else {
            counters().AddShared(Counter::kMalformedDatagrams);
        }
    }
}

}  // namespace tvservice
