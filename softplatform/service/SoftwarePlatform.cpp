#include "softplatform/service/SoftwarePlatform.h"

#include <memory>
#include <utility>

#include "softplatform/base/Counters.h"
#include "softplatform/input/BufferSource.h"
#include "softplatform/input/OpenInput.h"
#include "softplatform/log/PlatformLog.h"
#include "softplatform/service/Receiver.h"

namespace tvservice {

namespace {

InputOptions ToInputOptions(const SourceOptions& options) {
    InputOptions result;
    result.loop = options.loop;
    result.follow = options.follow;
    result.pace = options.pace;
    result.dvr = options.dvr;
    return result;
}

}  // namespace

SourcePtr OpenSource(const std::string& uri, std::string& error) {
    return OpenInput(uri, error);
}

SourcePtr OpenSource(const std::string& uri, const SourceOptions& options, std::string& error) {
    return OpenInput(uri, ToInputOptions(options), error);
}

SourcePtr WithOptions(SourcePtr source, const SourceOptions& options, std::string& error) {
    return WithOptions(std::move(source), ToInputOptions(options), error);
}

SourcePtr MemorySource(std::string name, std::vector<unsigned char> bytes, std::size_t piece) {
    return std::make_shared<BufferSource>(std::move(name), std::move(bytes), piece);
}

SourceInfo Describe(const Source& source) {
    return {source.name(), source.size(), source.rewindable(), source.live()};
}

struct SoftwarePlatform::Impl {
    Receiver& receiver;
};

SoftwarePlatform::SoftwarePlatform() : m_impl(new Impl{Receiver::Instance()}) {}

SoftwarePlatform& SoftwarePlatform::Instance() {
    static SoftwarePlatform& instance = *new SoftwarePlatform;
    return instance;
}

bool SoftwarePlatform::Start(const Config& config) {
    std::string error;
    return Start(config, error);
}

bool SoftwarePlatform::Start(const Config& config, std::string& error) {
    return m_impl->receiver.Start(config, error);
}

bool SoftwarePlatform::Play(SourcePtr source, const PlayOptions& options) {
    return m_impl->receiver.Play(std::move(source), options);
}

InputEnd SoftwarePlatform::WaitEnd() {
    return m_impl->receiver.pump().WaitEnd();
}

void SoftwarePlatform::Interrupt() {
    m_impl->receiver.pump().Interrupt();
}

void SoftwarePlatform::Stop() {
    m_impl->receiver.Stop();
}

void SoftwarePlatform::BarrierPassed(std::uint32_t sequence) {
    m_impl->receiver.pump().BarrierPassed(sequence);
}

std::vector<CounterValue> SoftwarePlatform::Counters() const {
    std::vector<CounterValue> values;
    values.reserve(kCounterCount);
    for (const CounterInfo& info : kCounterTable) {
        values.push_back({info.name, info.meaning, m_impl->receiver.counters().Get(info.counter)});
    }
    return values;
}

std::uint64_t SoftwarePlatform::Counter(const std::string& name) const {
    for (const CounterInfo& info : kCounterTable) {
        if (name == info.name) {
            return m_impl->receiver.counters().Get(info.counter);
        }
    }
    return 0;
}

std::vector<CounterValue> SoftwarePlatform::FaultCounts() const {
    std::vector<CounterValue> values;
    for (const FaultCount& row : m_impl->receiver.faults()->counts()) {
        values.push_back({row.name, row.meaning, row.count});
    }
    return values;
}

bool SoftwarePlatform::Seen(unsigned short pid) const {
    return m_impl->receiver.engine().Seen(pid);
}

unsigned SoftwarePlatform::PacketSize() const {
    return m_impl->receiver.pump().packet_size();
}

void SetLogSink(LogSink sink) {
    ReplaceLogReceiver(std::move(sink));
}

void SetLogPriority(int lowest) {
    SetLowestLogPriority(lowest);
}

}  // namespace tvservice
