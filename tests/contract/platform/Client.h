#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/ISectionSubscriber.h"
#include "tests/contract/platform/PlatformRig.h"

namespace contract {

// One call of the section callback.
struct Call {
    int id;
    Bytes section;
};

// The client of the platform: the rig, the one subscriber, and what its callback was called with.
// Made at first use, never destroyed. All members may be used on any thread.
class Client {
  public:
    static Client& Get();

    PlatformRig& rig() { return *rig_; }
    ISectionSubscriber* subscriber() { return subscriber_; }

    // Forgets calls, faults and the hook.
    void Reset();

    // Called inside each callback, with no lock held, after the call was kept.
    void SetHook(std::function<void(const Call&)> hook);

    std::vector<Call> Calls() const;
    size_t CallsFor(int id) const;

    // Waits until there was such a call; false when there is none in a long time.
    bool WaitFor(const std::function<bool(const Call&)>& wanted);

    // What a platform must never do, whatever the test: a line each. Looked for in every callback:
    // the thread is not the suite's, no other callback runs, the section is whole, its bytes stay
    // until the end.
    std::vector<std::string> Faults() const;
    void AddFault(std::string fault);

  private:
    Client();
    static void OnSection(bool, unsigned short length, unsigned char* data, int id);
    void Take(unsigned short length, unsigned char* data, int id);

    std::unique_ptr<PlatformRig> rig_;
    ISectionSubscriber* subscriber_ = nullptr;

    mutable std::mutex mutex_;
    std::condition_variable called_;
    std::vector<Call> calls_;
    std::vector<std::string> faults_;
    std::function<void(const Call&)> hook_;
    std::atomic<int> running_{0};
};

// A thread of the suite's: the platform must not call back on it.
std::thread SuiteThread(std::function<void()> work);

// Runs something on a thread of the suite's and waits for its end. When it has not ended in a long
// time the program is aborted with a line that names it: nothing could follow.
void MustEnd(const std::string& what, std::function<void()> work);

// Holds a callback until the test opens it.
class Gate {
  public:
    void Open();
    // False when nobody opened it in a long time.
    bool Pass();
    // Whether it was opened within a tenth of a second.
    bool PassSoon();

  private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool isOpen_ = false;
};

}  // namespace contract
