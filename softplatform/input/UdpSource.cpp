#include "softplatform/input/UdpSource.h"

#include <algorithm>
#include <utility>

#include "softplatform/input/ErrorText.h"

namespace tvservice {

namespace {
constexpr size_t kMostPieces = 64;  // in one Read
}

std::shared_ptr<UdpSource> UdpSource::Open(const std::string& uri, std::string& error,
                                           Counters& counters) {
    std::unique_ptr<UdpSocket> socket = OpenSocket(uri, error, counters);
    return socket ? std::shared_ptr<UdpSource>(new UdpSource(uri, std::move(socket), counters))
                  : nullptr;
}

std::unique_ptr<UdpSocket> UdpSource::OpenSocket(const std::string& uri, std::string& error,
                                                 Counters& counters) {
    UdpAddress address;
    if (!ParseUdpUri(uri, address, error)) {
        return nullptr;
    }
    int reason = 0;
    std::unique_ptr<UdpSocket> socket = UdpSocket::Open(address, counters, reason);
    if (!socket) {
        error = OpenErrorText(uri, reason);
    }
    return socket;
}

UdpSource::UdpSource(std::string uri, std::unique_ptr<UdpSocket> socket, Counters& counters)
    : ByteSource(std::move(uri)), socket_(std::move(socket)), counters_(counters) {}

ReadResult UdpSource::Read(uint8_t* buffer, size_t size) {
    size_t filled = 0;
    // The number of pieces is limited: filling the buffer with tiny ones would take long.
    for (size_t pieces = 0; filled < size && pieces < kMostPieces; ++pieces) {
        if (left_.empty()) {
            const UdpSocket::Received next = Next();
            if (next.status != UdpSocket::Received::kDatagram) {
                if (filled != 0) {
                    break;  // the next Read returns the status
                }
                return next.status == UdpSocket::Received::kNothing
                           ? ReadResult{ReadResult::kWouldBlock}
                           : ReadResult{ReadResult::kFailed,
                                        {},
                                        ReadErrorText(name(), offset_, next.error)};
            }
            left_ = next.datagram;
        }
        const size_t count = std::min(size - filled, left_.size());
        std::copy_n(left_.data(), count, buffer + filled);
        left_ = left_.Subview(count);
        filled += count;
        offset_ += count;
    }
    return {ReadResult::kBytes, {buffer, filled}};
}

UdpSocket::Received UdpSource::Next() {
    do {
        const UdpSocket::Received received = socket_->Receive();
        if (received.status != UdpSocket::Received::kDatagram || !received.datagram.empty()) {
            return received;
        }
        counters_.AddShared(Counter::kMalformedDatagrams);
    } while (socket_->HasNext());
    return {UdpSocket::Received::kNothing};
}

}  // namespace tvservice
