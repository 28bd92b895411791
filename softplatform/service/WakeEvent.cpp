#include "softplatform/service/WakeEvent.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace tvservice {

WakeEvent::WakeEvent() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (event_.get() < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

// Set fails only when the event's counter is full: the event is set then. Clear fails only when the
// counter is 0: the event is clear then.

void WakeEvent::Set() {
    const uint64_t one = 1;
    while (::write(event_.get(), &one, sizeof(one)) < 0 && errno == EINTR) {
    }
}

void WakeEvent::Clear() {
    uint64_t count = 0;
    while (::read(event_.get(), &count, sizeof(count)) < 0 && errno == EINTR) {
    }
}

}  // namespace tvservice
