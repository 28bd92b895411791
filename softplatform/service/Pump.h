#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/base/Mutex.h"
#include "softplatform/input/Source.h"
#include "softplatform/section/FilterEngine.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "softplatform/service/WakeEvent.h"
#include "softplatform/ts/PacketSync.h"
#include "softplatform/ts/PacketView.h"

namespace tvservice {

// The delivery thread: reads the source that plays, finds its packets, gives them to the filter
// engine, and stops the stream at each barrier until it is answered. SoftwarePlatform.h describes
// the public functions. All may be called on any thread except the delivery thread. BarrierPassed
// and Wake may be called on the delivery thread too.
//
// While the thread waits (for a source to play, for input, or for the answer to a barrier), it also
// applies the filter changes that clients ask for.
class Pump {
  public:
    // `engine` and `counters` are borrowed and outlive the pump. `onEnd` is called on the delivery
    // thread when a source has ended, before the last barrier, with no lock held. It may call
    // section callbacks. May be empty.
    Pump(FilterEngine& engine, Counters& counters, std::function<void()> onEnd = {});
    Pump(const Pump&) = delete;
    Pump& operator=(const Pump&) = delete;
    ~Pump();

    bool Start() TV_EXCLUDES(lifecycle_, mutex_);
    void Stop() TV_EXCLUDES(lifecycle_, mutex_);

    bool Play(SourcePtr source, const PlayOptions& options) TV_EXCLUDES(mutex_);
    InputEnd WaitEnd() TV_EXCLUDES(mutex_);
    void Interrupt() TV_EXCLUDES(mutex_);
    void BarrierPassed(uint32_t sequence) TV_EXCLUDES(mutex_);

    // Makes the delivery thread apply the engine's changes soon, even while it waits.
    void Wake() TV_EXCLUDES(mutex_);

    unsigned packet_size() const { return packetSize_.load(std::memory_order_relaxed); }

  private:
    struct Job {
        SourcePtr source;
        PlayOptions options;
    };

    void WakeLocked() TV_REQUIRES(mutex_);

    // Called only on the delivery thread.
    void Run() TV_EXCLUDES(mutex_);
    std::optional<Job> NextJob() TV_EXCLUDES(mutex_);
    InputEnd PlayThrough(const Job& job) TV_EXCLUDES(mutex_);
    InputEnd PlayBytes(ByteSource& source, const PlayOptions& options) TV_EXCLUDES(mutex_);
    InputEnd PlayDevice(const DvbSource& source, const PlayOptions& options) TV_EXCLUDES(mutex_);
    void StorePacketSize(const PacketSync& sync);
    InputEnd End(InputEnd end) TV_EXCLUDES(mutex_);
    bool OnPacket(const uint8_t* packet, const PlayOptions& options) TV_EXCLUDES(mutex_);
    void PassBarrierWhenDue(const PlayOptions& options, size_t bytes, size_t calls)
        TV_EXCLUDES(mutex_);
    void WaitForInput(int descriptor, const PlayOptions& options) TV_EXCLUDES(mutex_);
    // Applies the filter changes that clients asked for. When sections from the cache were
    // delivered, a barrier may be due after them.
    void ApplyChanges(const PlayOptions& options) TV_EXCLUDES(mutex_);
    void PassBarrier() TV_EXCLUDES(mutex_);
    // Returns the number of callbacks made from the cache while it waited for the answer.
    size_t PassOneBarrier() TV_EXCLUDES(mutex_);

    FilterEngine& engine_;
    Counters& counters_;
    const std::function<void()> onEnd_;
    WakeEvent event_;  // set whenever woken_ or interrupt_ is set

    // Used only by the delivery thread.
    std::vector<uint8_t> buffer_;
    uint64_t sinceBarrier_ = 0;  // bytes of the stream since the last barrier
    uint32_t sequence_ = 0;      // of the last barrier

    std::atomic<bool> interrupt_{false};  // written under mutex_
    std::atomic<unsigned> packetSize_{0};

    Mutex lifecycle_;  // one Start or Stop at a time; taken before mutex_
    std::thread thread_ TV_GUARDED_BY(lifecycle_);  // joinable while it runs

    Mutex mutex_;
    CondVar changed_;
    bool running_ TV_GUARDED_BY(mutex_) = false;   // Play is accepted
    bool stopping_ TV_GUARDED_BY(mutex_) = false;  // the thread must end
    bool woken_ TV_GUARDED_BY(mutex_) = false;
    std::optional<Job> next_ TV_GUARDED_BY(mutex_);
    bool playing_ TV_GUARDED_BY(mutex_) = false;
    InputEnd end_ TV_GUARDED_BY(mutex_) = {InputEnd::kInterrupted, {}};
    std::optional<uint32_t> awaited_ TV_GUARDED_BY(mutex_);  // the barrier that is not answered yet
};

}  // namespace tvservice
