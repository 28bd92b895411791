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

// The client of the platform: the rig, the one subscriber, and the calls of its callback. Created
// at first use and never destroyed. All members may be used on any thread.
class Client {
  public:
    static Client& Get();

    PlatformRig& rig() { return *rig_; }
    ISectionSubscriber* subscriber() { return subscriber_; }

    // Forgets the calls, the faults and the hook.
    void Reset();

    // `hook` is called inside each callback, with no lock held, after the call was recorded.
    void SetHook(std::function<void(const Call&)> hook);

    std::vector<Call> Calls() const;
    size_t CallsFor(int id) const;

    // Waits for a call that `wanted` accepts. False when none comes within the suite's time limit.
    bool WaitFor(const std::function<bool(const Call&)>& wanted);

    // One line for each fault that was found. Every callback is checked: it must not run on a
    // thread of the suite, no other callback may run, the section must be whole, and its bytes must
    // not change until the callback returns.
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

// Starts a thread of the suite. The platform must not call the callback on it.
std::thread SuiteThread(std::function<void()> work);

// Runs `work` on a thread of the suite and waits for its end. If `work` does not end within the
// time limit, the program is aborted with a line that contains `what`, because no test could go on.
void MustEnd(const std::string& what, std::function<void()> work);

// Holds a callback until the test opens it.
class Gate {
  public:
    void Open();
    // Waits for Open. False when it was not opened within the time limit.
    bool Pass();
    // Waits for Open a tenth of a second at most. Whether it was opened.
    bool PassSoon();

  private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool isOpen_ = false;
};

}  // namespace contract
