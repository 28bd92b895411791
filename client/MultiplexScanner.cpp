#include "client/MultiplexScanner.h"

#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "SI/Include/IPATParser.h"
#include "SI/Include/ISectionManager.h"
#include "client/Barrier.h"
#include "platform/TCPATParser.h"
#include "platform/TVSHandle.h"

namespace client {

using TORVEL_MW::IPATParser;
using TORVEL_MW::ISectionManager;
using TORVEL_MW::ISectionObserver;

namespace {

constexpr unsigned short kPatPid = 0x0000;
constexpr unsigned int kPatTableId = 0x00;
constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

/// Keeps the last complete current PAT. Fed on the event thread; what it found is read on any.
class PatReader : public ISectionObserver {
  public:
    PatReader() : parser_(IPATParser::CreatePATParser()), platformParser_(TVSHandle(1, 0)) {
        parser_->Initialize();
    }

    void OnSectionReceived(unsigned short, unsigned short pid, unsigned short,
                           unsigned char* data) override {
        // The SI layer's parser answers what its interface offers; the platform's, fed the same
        // sections, the version.
        if (!parser_->Parse(pid, data) || !platformParser_.Parse(static_cast<short>(pid), data) ||
            !parser_->IsComplete()) {
            return;
        }
        Pat pat{parser_->TransportStreamId(), platformParser_.VersionNumber(), {}};
        std::map<int, int> programs;
        parser_->GetProgramList(programs);
        for (const auto& [programNumber, pmtPid] : programs) {
            pat.programs.push_back({programNumber, pmtPid});
        }
        std::lock_guard<std::mutex> lock(mutex_);
        pat_ = std::move(pat);
    }

    void OnSectionTimeout(unsigned int) override {}

    std::optional<Pat> Current() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return pat_;
    }

  private:
    std::unique_ptr<IPATParser> parser_;
    TCPATParser platformParser_;
    mutable std::mutex mutex_;
    std::optional<Pat> pat_;  // guarded by mutex_
};

/// Keeps an observer to the end of the process: after an interruption sections may still be on
/// their way to it.
void KeepForever(std::shared_ptr<ISectionObserver> observer) {
    static std::mutex mutex;
    static auto& kept = *new std::vector<std::shared_ptr<ISectionObserver>>;
    std::lock_guard<std::mutex> lock(mutex);
    kept.push_back(std::move(observer));
}

}  // namespace

struct MultiplexScanner::Impl {
    mutable std::mutex mutex;
    std::string uri;                 // guarded by mutex
    std::shared_ptr<PatReader> pat;  // guarded by mutex; the reader itself locks for itself
};

MultiplexScanner::MultiplexScanner() : impl_(std::make_unique<Impl>()) {}

MultiplexScanner::~MultiplexScanner() = default;

tvservice::InputEnd MultiplexScanner::Scan(tvservice::SourcePtr source) {
    const tvservice::SourceInfo info = tvservice::Describe(*source);
    auto pat = std::make_shared<PatReader>();
    {
        std::lock_guard<std::mutex> lock(impl_->mutex);
        impl_->uri = info.name;
        impl_->pat = pat;
    }

    tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    ISectionManager& manager = *ISectionManager::Instance();
    auto barrier = std::make_shared<Barrier>();
    const unsigned int subscription = manager.Subscribe(
        kPatPid, kPatTableId, *pat, ISectionManager::EContinuous, kNoTimeout, false);
    tvservice::PlayOptions options;
    options.reading =
        info.rewindable ? tvservice::PlayOptions::kFreeRunning : tvservice::PlayOptions::kLockStep;
    tvservice::InputEnd end{tvservice::InputEnd::kFailed, info.name + ": cannot be played"};
    if (subscription != 0 && platform.Play(std::move(source), options)) {
        end = platform.WaitEnd();
    }
    if (subscription != 0) {
        manager.Unsubscribe(subscription);
    }
    if (end.reason == tvservice::InputEnd::kInterrupted) {
        KeepForever(std::move(pat));
        KeepForever(std::move(barrier));
    }
    return end;
}

Multiplex MultiplexScanner::Result() const {
    const tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    Multiplex result;
    {
        std::lock_guard<std::mutex> lock(impl_->mutex);
        result.input.uri = impl_->uri;
        if (impl_->pat) {
            result.pat = impl_->pat->Current();
        }
    }
    result.input.packetSize = platform.PacketSize();
    result.input.packets = platform.Counter("packets");
    result.input.bytes = platform.Counter("bytes");
    result.counters = platform.Counters();
    if (!result.pat) {
        result.missing.emplace_back("pat");
    }
    result.complete = result.missing.empty();
    return result;
}

}  // namespace client
