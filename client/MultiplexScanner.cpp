#include "client/MultiplexScanner.h"

#include <mutex>
#include <utility>
#include <vector>

#include "client/Acquisition.h"
#include "client/Barrier.h"

namespace client {

namespace {

/// Keeps something to the end of the process: after an interruption sections may still be on their
/// way to it.
void KeepForever(std::shared_ptr<void> object) {
    static std::mutex mutex;
    static auto& kept = *new std::vector<std::shared_ptr<void>>;
    std::lock_guard<std::mutex> lock(mutex);
    kept.push_back(std::move(object));
}

tvservice::InputEnd Play(const tvservice::SourcePtr& source,
                         const tvservice::PlayOptions& options) {
    tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    if (!platform.Play(source, options)) {
        return {tvservice::InputEnd::kFailed,
                tvservice::Describe(*source).name + ": cannot be played"};
    }
    return platform.WaitEnd();
}

}  // namespace

struct MultiplexScanner::Impl {
    mutable std::mutex mutex;
    std::string uri;                           // guarded by mutex
    std::shared_ptr<Acquisition> acquisition;  // guarded by mutex; it locks for itself

    // One pass; `earlier` may be null.
    tvservice::InputEnd Pass(const tvservice::SourcePtr& source,
                             tvservice::PlayOptions::Reading reading, Acquisition::Extent extent,
                             const Acquisition* earlier) {
        auto pass = std::make_shared<Acquisition>(extent);
        {
            std::lock_guard<std::mutex> lock(mutex);
            acquisition = pass;
        }
        auto barrier = std::make_shared<Barrier>();
        pass->Subscribe(earlier);
        tvservice::PlayOptions options;
        options.reading = reading;
        const tvservice::InputEnd end = Play(source, options);
        pass->Unsubscribe();
        if (end.reason == tvservice::InputEnd::kInterrupted) {
            KeepForever(std::move(pass));
            KeepForever(std::move(barrier));
        }
        return end;
    }
};

MultiplexScanner::MultiplexScanner() : impl_(std::make_unique<Impl>()) {}

MultiplexScanner::~MultiplexScanner() = default;

tvservice::InputEnd MultiplexScanner::Scan(tvservice::SourcePtr source) {
    const tvservice::SourceInfo info = tvservice::Describe(*source);
    {
        std::lock_guard<std::mutex> lock(impl_->mutex);
        impl_->uri = info.name;
    }
    if (!info.rewindable) {
        return impl_->Pass(source, tvservice::PlayOptions::kLockStep, Acquisition::kAll, nullptr);
    }
    const tvservice::InputEnd end =
        impl_->Pass(source, tvservice::PlayOptions::kFreeRunning, Acquisition::kPatOnly, nullptr);
    if (end.reason != tvservice::InputEnd::kEndOfInput) {
        return end;
    }
    std::shared_ptr<Acquisition> first;
    {
        std::lock_guard<std::mutex> lock(impl_->mutex);
        first = impl_->acquisition;
    }
    return impl_->Pass(source, tvservice::PlayOptions::kFreeRunning, Acquisition::kAll,
                       first.get());
}

Multiplex MultiplexScanner::Result() const {
    const tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    Multiplex result;
    std::shared_ptr<Acquisition> acquisition;
    {
        std::lock_guard<std::mutex> lock(impl_->mutex);
        result.input.uri = impl_->uri;
        acquisition = impl_->acquisition;
    }
    result.input.packetSize = platform.PacketSize();
    result.input.packets = platform.Counter("packets");
    result.input.bytes = platform.Counter("bytes");
    result.counters = platform.Counters();
    if (acquisition) {
        acquisition->Fill(result);
    }
    result.complete = result.missing.empty();
    return result;
}

}  // namespace client
