#pragma once

#include "SI/Include/ISectionObserver.h"

namespace client {

/// Answers the software platform's barrier (`tvservice::kBarrierPid`) on the section manager's
/// event thread. While one exists, the platform goes on past a barrier only when every section
/// delivered before it has been handled by its observer.
///
/// There should be one at a time, because the platform goes on after the first answer. Make it
/// before `SoftwarePlatform::Play` and destroy it after `WaitEnd`, when nothing plays.
class Barrier : public TORVEL_MW::ISectionObserver {
  public:
    Barrier();
    ~Barrier() override;
    /// Whether its filter is set. Otherwise the platform asks nobody, and waits for nobody.
    bool Works() const { return subscription_ != 0; }

    /// Releases the filter. Sections that are queued already still arrive.
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
