#pragma once

#include "SI/Include/ISectionObserver.h"

namespace client {

/// Answers the software platform's barrier (`tvservice::kBarrierPid`) on the section manager's
/// event thread. While one exists, the platform goes on past a barrier only when every section
/// delivered before it has been handled by its observer.
///
/// One at a time: the first answer lets the platform go on. Make it before
/// `SoftwarePlatform::Play`, destroy it when nothing plays (after `WaitEnd`).
class Barrier : public TORVEL_MW::ISectionObserver {
  public:
    Barrier();
    ~Barrier() override;
    /// Whether it answers; otherwise nothing asks it, and nothing is held.
    bool Works() const { return subscription_ != 0; }

    /// Answers no more. What is on its way arrives all the same.
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
