#include "softplatform/service/SoftwarePlatform.h"

#include <utility>

#include "softplatform/base/Counters.h"
#include "softplatform/log/PlatformLog.h"
#include "softplatform/service/Receiver.h"

namespace tvservice {

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

std::uint64_t SoftwarePlatform::Counter(tvservice::Counter counter) const {
    return counter < tvservice::Counter::kCount ? m_impl->receiver.counters().Get(counter) : 0;
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
