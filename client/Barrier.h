#pragma once

#include "SI/Include/ISectionObserver.h"

namespace client {

/// Answers the software platform's barrier (`tvservice::kBarrierPid`) on the section manager's
/// event thread. While an object of this class exists, the platform continues after a barrier only
/// when the observers have handled every section that was delivered before it.
///
/// Use one at a time, because the platform continues after the first answer. Make it before
/// `SoftwarePlatform::Play` and destroy it after `WaitEnd`, when nothing plays.
class Barrier : public TORVEL_MW::ISectionObserver {
  public:
    Barrier();
    ~Barrier() override;
    /// Whether its filter is set. If it is not, the platform does not wait at barriers.
    bool Works() const { return subscription_ != 0; }

    /// Releases the filter. A section whose delivery has begun may still arrive after this.
    void Unsubscribe();

    Barrier(const Barrier&) = delete;
    Barrier& operator=(const Barrier&) = delete;

    void OnSectionReceived(unsigned short id, unsigned short pid, unsigned short length,
                           unsigned char* data) override;
    void OnSectionTimeout(unsigned int id) override;

  private:
    unsigned int subscription_;
};

}  // namespace client
