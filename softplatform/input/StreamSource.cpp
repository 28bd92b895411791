#include "softplatform/input/StreamSource.h"

#include <poll.h>

#include <cerrno>
#include <utility>

#include "softplatform/base/Counters.h"
#include "softplatform/input/ErrorText.h"

namespace tvservice {

StreamSource::StreamSource(std::string name, FileDescriptor stream, bool live, ReadCall read)
    : ByteSource(std::move(name)), stream_(std::move(stream)), isLive_(live), read_(read) {}

ReadResult StreamSource::Read(uint8_t* buffer, size_t size) {
    wasRead_ = true;
    for (;;) {
        // Polled before each read for two reasons. A pipe without a writer lets read(2) return 0
        // both before the first writer and after the last one; only poll(2) tells the two apart.
        // And non-blocking mode cannot be set: another process may share the descriptor.
        pollfd ready{stream_.get(), POLLIN, 0};
        const int answers = ::poll(&ready, 1, 0);
        if (answers == 0) {
            return {ReadResult::kWouldBlock};
        }
        if (answers > 0) {
            const ssize_t count = read_(stream_.get(), buffer, size);
            if (count > 0) {
                offset_ += static_cast<uint64_t>(count);
                return {ReadResult::kBytes, {buffer, static_cast<size_t>(count)}};
            }
            if (count == 0) {
                return {ReadResult::kEnd};
            }
            if (errno == EAGAIN) {
                return {ReadResult::kWouldBlock};
            }
            if (errno == EOVERFLOW) {
                ReceiverCounters().Add(Counter::kDeviceOverflows);
                continue;
            }
        }
        if (errno != EINTR) {
            return {ReadResult::kFailed, {}, ReadErrorText(name(), offset_, errno)};
        }
    }
}

}  // namespace tvservice
