#include "fuzz/LastingScan.h"

#include <cstdlib>

#include "SI/Include/ISectionManager.h"
#include "client/SubscriptionIds.h"
#include "client/TableIds.h"

namespace fuzzing {

using TORVEL_MW::ISectionManager;
using tvservice::Counter;
using tvservice::SoftwarePlatform;

namespace {

// The tables that a scan follows without a PAT.
constexpr std::pair<unsigned short, unsigned char> kFixed[] = {
    {client::kPatPid, client::kPatTableId},
    {client::kCatPid, client::kCatTableId},
    {client::kNitPid, client::kNitActualTableId},
    {client::kNitPid, client::kNitOtherTableId},
    {client::kSdtBatPid, client::kSdtActualTableId},
    {client::kSdtBatPid, client::kBatTableId},
    {client::kEitPid, client::kEitPresentFollowingTableId}};

bool StartPlatform() {
    tvservice::SetLogPriority(7);
    tvservice::Config config;
    config.filters = 4096;
    return SoftwarePlatform::Instance().Start(config);
}

}  // namespace

LastingScan& LastingScan::Instance() {
    static const bool isStarted = StartPlatform();
    if (!isStarted) {
        std::abort();
    }
    static LastingScan& instance = *new LastingScan;
    return instance;
}

tvservice::InputEnd LastingScan::Scan(const tvservice::SourcePtr& source) {
    if (!barrier_) {
        barrier_ = std::make_unique<client::Barrier>();
    }
    if (!barrier_->Works()) {
        std::abort();
    }
    readers_ = std::make_unique<TableReaders>([this](const client::Pat& pat) { OnPat(pat); });
    followed_.clear();
    for (const auto& [pid, tableId] : kFixed) {
        Follow(pid, tableId);
    }
    tvservice::PlayOptions options;
    options.reading = tvservice::PlayOptions::kLockStep;
    if (!SoftwarePlatform::Instance().Play(source, options)) {
        std::abort();
    }
    return SoftwarePlatform::Instance().WaitEnd();
}

client::Multiplex LastingScan::Result() const {
    const SoftwarePlatform& platform = SoftwarePlatform::Instance();
    client::Multiplex result = readers_->Found();
    result.input.packetSize = platform.PacketSize();
    result.input.packets = platform.Counter(Counter::kPackets);
    result.input.bytes = platform.Counter(Counter::kBytes);
    result.counters = platform.Counters();
    return result;
}

void LastingScan::OnSectionReceived(unsigned short, unsigned short pid, unsigned short length,
                                    unsigned char* data) {
    if (length > 0 && followed_.count({pid, data[0]}) != 0) {
        readers_->Take(pid, data, length);
    }
}

// None was asked for.
void LastingScan::OnSectionTimeout(unsigned int) {
    std::abort();
}

void LastingScan::OnPat(const client::Pat& pat) {
    for (const client::PatProgram& program : pat.programs) {
        Follow(static_cast<unsigned short>(program.pmtPid), client::kPmtTableId);
    }
    if (pat.networkPid) {
        Follow(static_cast<unsigned short>(*pat.networkPid), client::kNitActualTableId);
        Follow(static_cast<unsigned short>(*pat.networkPid), client::kNitOtherTableId);
    }
}

void LastingScan::Follow(unsigned short pid, unsigned char tableId) {
    const Filter filter(pid, tableId);
    followed_.insert(filter);
    if (set_.size() == kMaxFilters || !set_.insert(filter).second) {
        return;
    }
    const unsigned int subscription = ISectionManager::Instance()->Subscribe(
        pid, tableId, *this, ISectionManager::EContinuous, client::kNoTimeout, false);
    if (subscription == 0 || subscription > client::kLastServedId) {
        std::abort();
    }
}

}  // namespace fuzzing
