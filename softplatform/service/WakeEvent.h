#pragma once

#include "softplatform/input/FileDescriptor.h"

namespace tvservice {

// An event that poll(2) can wait for together with an input. Set and Clear may be called on any
// thread. A second Set before Clear changes nothing.
class WakeEvent {
  public:
    // Throws std::system_error when the system cannot create an event, for example because all
    // file descriptors are in use.
    WakeEvent();

    void Set();
    void Clear();

    // Readable while the event is set.
    int descriptor() const { return event_.get(); }

  private:
    const FileDescriptor event_;
};

}  // namespace tvservice
