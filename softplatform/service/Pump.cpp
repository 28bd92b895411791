#include "softplatform/service/Pump.h"

#include <poll.h>

#include <array>
#include <utility>

#include "platform/Log.h"
#include "softplatform/section/SectionView.h"
#include "softplatform/service/DvbFeed.h"

namespace tvservice {

namespace {

constexpr size_t kReadSize = 256 * 1024;

std::array<uint8_t, 7> BarrierSection(uint32_t sequence) {
    return {kBarrierTableId,
            0x30,
            4,
            static_cast<uint8_t>(sequence >> 24),
            static_cast<uint8_t>(sequence >> 16),
            static_cast<uint8_t>(sequence >> 8),
            static_cast<uint8_t>(sequence)};
}

}  // namespace

Pump::Pump(FilterEngine& engine, Counters& counters, std::function<void()> onEnd)
    : engine_(engine), counters_(counters), onEnd_(std::move(onEnd)), buffer_(kReadSize) {}

Pump::~Pump() {
    Stop();
}

bool Pump::Start() {
    MutexLock lifecycle(lifecycle_);
    if (thread_.joinable()) {
        return false;
    }
    thread_ = std::thread([this] { Run(); });
    MutexLock lock(mutex_);
    running_ = true;
    return true;
}

void Pump::Stop() {
    MutexLock lifecycle(lifecycle_);
    if (!thread_.joinable()) {
        return;
    }
    {
        MutexLock lock(mutex_);
        running_ = false;
        stopping_ = true;
        interrupt_.store(true, std::memory_order_relaxed);
        WakeLocked();
    }
    thread_.join();
    MutexLock lock(mutex_);
    stopping_ = false;
}

bool Pump::Play(SourcePtr source, const PlayOptions& options) {
    MutexLock lock(mutex_);
    if (!running_ || playing_ || source == nullptr) {
        return false;
    }
    if (const auto bytes = source->bytes(); bytes != nullptr && !bytes->Rewind()) {
        return false;
    }
    counters_.ResetStream();
    packetSize_.store(0, std::memory_order_relaxed);
    interrupt_.store(false, std::memory_order_relaxed);
    next_ = Job{std::move(source), options};
    playing_ = true;
    changed_.NotifyAll();
    return true;
}

InputEnd Pump::WaitEnd() {
    MutexLock lock(mutex_);
    while (playing_) {
        changed_.Wait(mutex_);
    }
    return end_;
}

void Pump::Interrupt() {
    MutexLock lock(mutex_);
    if (playing_) {
        interrupt_.store(true, std::memory_order_relaxed);
        WakeLocked();
    }
}

void Pump::BarrierPassed(uint32_t sequence) {
    MutexLock lock(mutex_);
    if (awaited_ == sequence) {
        awaited_.reset();
        changed_.NotifyAll();
    }
}

void Pump::Wake() {
    MutexLock lock(mutex_);
    WakeLocked();
}

void Pump::WakeLocked() {
    woken_ = true;
    changed_.NotifyAll();
    event_.Set();
}

void Pump::Run() {
    while (std::optional<Job> job = NextJob()) {
        const InputEnd end = PlayThrough(*job);
        job.reset();  // closes the source before WaitEnd returns
        MutexLock lock(mutex_);
        end_ = end;
        playing_ = false;
        changed_.NotifyAll();
    }
}

std::optional<Pump::Job> Pump::NextJob() {
    for (;;) {
        engine_.ApplyChanges();
        MutexLock lock(mutex_);
        while (!woken_ && !stopping_ && !next_) {
            changed_.Wait(mutex_);
        }
        woken_ = false;
        if (stopping_) {
            if (next_) {
                next_.reset();
                end_ = {InputEnd::kInterrupted, {}};
                playing_ = false;
                changed_.NotifyAll();
            }
            return std::nullopt;
        }
        if (next_) {
            return std::exchange(next_, std::nullopt);
        }
    }
}

InputEnd Pump::PlayThrough(const Job& job) {
    sinceBarrier_ = 0;
    if (const auto bytes = job.source->bytes()) {
        engine_.Reset(Feed::kPackets);
        return PlayBytes(*bytes, job.options);
    }
    engine_.Reset(Feed::kDeviceSections);
    return PlayDevice(*job.source->device(), job.options);
}

InputEnd Pump::PlayBytes(ByteSource& source, const PlayOptions& options) {
    InputEnd interrupted{InputEnd::kInterrupted, {}};
    PacketSync sync(counters_);
    const auto onPacket = [&](const uint8_t* packet) {
        if (OnPacket(packet, options)) {
            return true;
        }
        StorePacketSize(sync);  // now, because Feed forgets it when it is interrupted
        return false;
    };
    uint64_t losses = 0;
    while (!interrupt_.load(std::memory_order_relaxed)) {
        const ReadResult read = source.Read(buffer_.data(), buffer_.size());
        const uint64_t lossesBefore =
            std::exchange(losses, counters_.Get(Counter::kDeviceOverflows));
        if (losses != lossesBefore) {
            LOG(0, LOG_PRIORITY_WARNING, "TVSERVICE", "bytes lost of %s: the buffer overflowed",
                source.name().c_str());
        }
        switch (read.status) {
            case ReadResult::kBytes:
                if (!sync.Feed(read.bytes.data(), read.bytes.size(), onPacket)) {
                    return interrupted;
                }
                StorePacketSize(sync);
                ApplyChanges(options);  // needed when these bytes contained no packet
                break;
            case ReadResult::kWouldBlock:
                WaitForInput(source.descriptor(), options);
                break;
            case ReadResult::kEnd:
            case ReadResult::kFailed:
                if (!sync.Finish(onPacket)) {
                    return interrupted;
                }
                StorePacketSize(sync);
                return End(read.status == ReadResult::kEnd
                               ? InputEnd{InputEnd::kEndOfInput, {}}
                               : InputEnd{InputEnd::kFailed, read.error});
        }
    }
    return interrupted;
}

void Pump::StorePacketSize(const PacketSync& sync) {
    packetSize_.store(static_cast<unsigned>(sync.packet_size()), std::memory_order_relaxed);
}

InputEnd Pump::PlayDevice(const DvbSource& source, const PlayOptions& options) {
    DvbFeed feed(source, engine_, counters_,
                 [&](size_t bytes, size_t calls) { PassBarrierWhenDue(options, bytes, calls); });
    while (!interrupt_.load(std::memory_order_relaxed)) {
        std::string error;
        if (!feed.WaitAndDeliver(event_.descriptor(), error)) {
            return End({InputEnd::kFailed, error});
        }
        event_.Clear();
        ApplyChanges(options);
    }
    return {InputEnd::kInterrupted, {}};
}

InputEnd Pump::End(InputEnd end) {
    if (onEnd_) {
        onEnd_();
    }
    PassBarrier();
    if (interrupt_.load(std::memory_order_relaxed)) {
        return {InputEnd::kInterrupted, {}};
    }
    return end;
}

bool Pump::OnPacket(const uint8_t* packet, const PlayOptions& options) {
    if (interrupt_.load(std::memory_order_relaxed)) {
        return false;
    }
    PassBarrierWhenDue(options, kPacketSize, engine_.OnPacket(PacketView(packet)));
    return true;
}

void Pump::PassBarrierWhenDue(const PlayOptions& options, size_t bytes, size_t calls) {
    sinceBarrier_ += bytes;
    const bool isDue = options.reading == PlayOptions::kLockStep
                           ? calls > 0
                           : sinceBarrier_ >= options.barrierInterval;
    if (isDue) {
        sinceBarrier_ = 0;
        PassBarrier();
    }
}

void Pump::ApplyChanges(const PlayOptions& options) {
    PassBarrierWhenDue(options, 0, engine_.ApplyChanges());
}

void Pump::WaitForInput(int descriptor, const PlayOptions& options) {
    std::array<pollfd, 2> ready{{{descriptor, POLLIN, 0}, {event_.descriptor(), POLLIN, 0}}};
    ::poll(ready.data(), ready.size(), -1);
    event_.Clear();
    ApplyChanges(options);
}

void Pump::PassBarrier() {
    // Sections from the cache that were delivered while the barrier waited come after it, so they
    // need another barrier.
    while (PassOneBarrier() > 0) {
    }
}

size_t Pump::PassOneBarrier() {
    const uint32_t sequence = ++sequence_;
    {
        MutexLock lock(mutex_);
        awaited_ = sequence;
    }
    const std::array<uint8_t, 7> section = BarrierSection(sequence);
    bool isAsked =
        engine_.DeliverTo(kBarrierPid, *SectionView::From(section.data(), section.size())) > 0;
    size_t calls = 0;
    while (isAsked) {
        calls += engine_.ApplyChanges();
        MutexLock lock(mutex_);
        // When no filter is left on the PID, there may never be an answer. Then the wait ends.
        isAsked = engine_.IsWanted(kBarrierPid);
        while (isAsked && awaited_ && !woken_ && !interrupt_.load(std::memory_order_relaxed)) {
            changed_.Wait(mutex_);
        }
        woken_ = false;
        isAsked = isAsked && awaited_ && !interrupt_.load(std::memory_order_relaxed);
    }
    MutexLock lock(mutex_);
    awaited_.reset();
    return calls;
}

}  // namespace tvservice
