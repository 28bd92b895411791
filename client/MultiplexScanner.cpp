#include "client/MultiplexScanner.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "client/Acquisition.h"
#include "client/Barrier.h"

namespace client {

namespace {

/// The first pass reads an input below this size to its end. Stopping early would save no time.
constexpr std::uint64_t kLargeInput = std::uint64_t{8} << 20;  // bytes

/// Keeps an object to the end of the process, because after an interruption the event thread may
/// still deliver sections to it.
void KeepForever(std::shared_ptr<void> object) {
    static std::mutex mutex;
    static auto& kept = *new std::vector<std::shared_ptr<void>>;
    std::lock_guard<std::mutex> lock(mutex);
    kept.push_back(std::move(object));
}

}  // namespace

struct MultiplexScanner::Impl {
    mutable std::mutex mutex;
    std::string uri;                           // guarded by mutex
    std::shared_ptr<Acquisition> acquisition;  // guarded by mutex; it locks for itself
    int passes = 0;                            // guarded by mutex

    // Waits until a pass has found enough. Returns true when the rest of the pass is not needed,
    // false when Unsubscribe ended the wait.
    using Wait = std::function<bool(Acquisition&)>;

    static Wait UntilComplete(std::optional<std::chrono::milliseconds> timeout) {
        if (!timeout) {
            return {};
        }
        return [timeout](Acquisition& pass) { return pass.WaitUntilComplete(*timeout); };
    }

    // Makes one pass. `earlier` may be null, and `enough` may be empty. When `enough` returns true,
    // the pass is interrupted and ends with `kEndOfInput`.
    tvservice::InputEnd Pass(const tvservice::SourcePtr& source,
                             tvservice::PlayOptions::Reading reading, Barrier& barrier,
                             Acquisition::Extent extent, const Acquisition* earlier,
                             const Wait& enough = {}) {
        auto pass = std::make_shared<Acquisition>(extent);
        {
            std::lock_guard<std::mutex> lock(mutex);
            acquisition = pass;
            ++passes;
        }
        pass->Subscribe(earlier);
        tvservice::PlayOptions options;
        options.reading = reading;
        tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
        tvservice::InputEnd end{tvservice::InputEnd::kFailed,
                                tvservice::Describe(*source).name + ": cannot be played"};
        bool hasEnough = false;
        if (barrier.Works() && !pass->OutOfIds() && platform.Play(source, options)) {
            std::thread watch;
            if (enough) {
                watch = std::thread([&] {
                    hasEnough = enough(*pass);
                    platform.Interrupt();
                });
            }
            end = platform.WaitEnd();
            pass->Unsubscribe();
            if (watch.joinable()) {
                watch.join();
            }
        } else {
            pass->Unsubscribe();
        }
        const bool isServed = barrier.Works() && !pass->OutOfIds();
        if (end.reason == tvservice::InputEnd::kInterrupted) {
            KeepForever(std::move(pass));
            if (hasEnough) {
                end.reason = tvservice::InputEnd::kEndOfInput;
            }
        }
        if (!isServed) {
            end = {tvservice::InputEnd::kFailed,
                   tvservice::Describe(*source).name +
                       ": cannot be scanned: the receiver has no filter left, or this process has "
                       "already made 65535 subscriptions"};
        }
        return end;
    }

    tvservice::InputEnd Scan(const tvservice::SourcePtr& source,
                             std::optional<std::chrono::milliseconds> timeout, Barrier& barrier) {
        using tvservice::PlayOptions;
        const tvservice::SourceInfo info = tvservice::Describe(*source);
        {
            std::lock_guard<std::mutex> lock(mutex);
            uri = info.name;
            passes = 0;
        }
        if (info.live) {
            // A looped or followed file waits for its reader, and may hold a PMT only once. So it
            // is read in lock-step like a pipe: the filters that a PAT asks for are set before the
            // next packet.
            const auto reading =
                info.rewindable ? PlayOptions::kLockStep : PlayOptions::kFreeRunning;
            return Pass(source, reading, barrier, Acquisition::kAll, nullptr,
                        UntilComplete(timeout.value_or(kDefaultTimeout)));
        }
        if (!info.rewindable) {
            return Pass(source, PlayOptions::kLockStep, barrier, Acquisition::kAll, nullptr,
                        UntilComplete(timeout));
        }
        // Most inputs name all their PIDs in the first PAT. If a later PAT names another one, both
        // passes are made again, without ending early. Where injected faults happen depends on
        // what was read before, so with faults no pass may end early.
        const bool isLarge = info.size >= kLargeInput;
        if (isLarge && tvservice::SoftwarePlatform::Instance().FaultCounts().empty()) {
            tvservice::InputEnd end =
                BothPasses(source, barrier, &Acquisition::WaitForPat, &Acquisition::WaitForNewPid);
            if (end.reason != tvservice::InputEnd::kEndOfInput || !Current()->FoundNewPid()) {
                return end;
            }
            FinishInterruptedPass();
            std::lock_guard<std::mutex> lock(mutex);
            passes = 0;
        }
        return BothPasses(source, barrier, {}, {});
    }

    // After an interruption the event thread may still handle a section of the pass. Until it is
    // done, the platform keeps the filter of that section, and the next pass would count what that
    // filter delivers. The barrier at the end of an empty source waits for the event thread.
    static void FinishInterruptedPass() {
        tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
        if (platform.Play(tvservice::MemorySource("nothing", {}))) {
            platform.WaitEnd();
        }
    }

    // Makes the pass that collects the PIDs, then the pass that reads all tables.
    tvservice::InputEnd BothPasses(const tvservice::SourcePtr& source, Barrier& barrier,
                                   const Wait& enoughPats, const Wait& mustRepeat) {
        using tvservice::PlayOptions;
        tvservice::InputEnd end = Pass(source, PlayOptions::kFreeRunning, barrier,
                                       Acquisition::kPatOnly, nullptr, enoughPats);
        if (end.reason != tvservice::InputEnd::kEndOfInput) {
            return end;
        }
        if (enoughPats) {
            FinishInterruptedPass();
        }
        const std::shared_ptr<Acquisition> first = Current();
        return Pass(source, PlayOptions::kFreeRunning, barrier, Acquisition::kAll, first.get(),
                    mustRepeat);
    }

    std::shared_ptr<Acquisition> Current() const {
        std::lock_guard<std::mutex> lock(mutex);
        return acquisition;
    }
};

MultiplexScanner::MultiplexScanner() : impl_(std::make_unique<Impl>()) {}

MultiplexScanner::~MultiplexScanner() = default;

tvservice::InputEnd MultiplexScanner::Scan(const tvservice::SourcePtr& source,
                                           std::optional<std::chrono::milliseconds> timeout) {
    // One barrier for all passes, so that there are never two at a time.
    auto barrier = std::make_shared<Barrier>();
    tvservice::InputEnd end = impl_->Scan(source, timeout, *barrier);
    barrier->Unsubscribe();
    // Another client of this process may have answered a barrier first. Then a section for this
    // object may still be on its way, so the object must live on.
    KeepForever(std::move(barrier));
    return end;
}

int MultiplexScanner::Pass() const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->passes;
}

Multiplex MultiplexScanner::Result() const {
    const tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    std::string uri;
    std::shared_ptr<Acquisition> acquisition;
    {
        std::lock_guard<std::mutex> lock(impl_->mutex);
        uri = impl_->uri;
        acquisition = impl_->acquisition;
    }
    Multiplex result = acquisition ? acquisition->Found() : Multiplex();
    result.input.uri = uri;
    result.input.packetSize = platform.PacketSize();
    result.input.packets = platform.Counter(tvservice::Counter::kPackets);
    result.input.bytes = platform.Counter(tvservice::Counter::kBytes);
    result.counters = platform.Counters();
    result.faults = platform.FaultCounts();
    result.complete = result.missing.empty();
    return result;
}

}  // namespace client
