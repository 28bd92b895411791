#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <utility>

#include "SI/Include/ISectionObserver.h"
#include "client/Barrier.h"
#include "client/Multiplex.h"
#include "fuzz/TableReaders.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace fuzzing {

// Scans one input after the other with the same subscriptions. A process can make 65535
// subscriptions (client::kLastServedId). client::MultiplexScanner subscribes anew for each scan, so
// it would use them up after some thousand inputs.
//
// A scan runs everything between the bytes and the tool's output: receiver, subscriber, section
// manager, the parsers of the SI layer and of the platform, and the client's readers.
class LastingScan final : public TORVEL_MW::ISectionObserver {
  public:
    // Returns the only object, which is never destroyed. The first call starts the platform.
    static LastingScan& Instance();

    // Plays the source in lock-step and returns how it ended. Nothing else may be playing. The scan
    // follows PIDs that a PAT names from the next packet on. It ignores tables on PIDs of earlier
    // inputs, whose filters are still set, and PIDs beyond kMaxFilters.
    tvservice::InputEnd Scan(const tvservice::SourcePtr& source);

    // Call this before a scan of another kind: each has a barrier, and with two barriers the
    // platform would count the first answer while sections were still waiting for the other. The
    // next Scan ends it. It costs one subscription.
    void StepAside() { barrier_.reset(); }

    // Returns what the last scan found. Do not call it while a scan runs.
    client::Multiplex Result() const;

    // The most filters that this class sets; the others are for scans of other kinds.
    static constexpr std::size_t kMaxFilters = 3500;

    void OnSectionReceived(unsigned short id, unsigned short pid, unsigned short length,
                           unsigned char* data) override;
    void OnSectionTimeout(unsigned int id) override;

  private:
    using Filter = std::pair<unsigned short, unsigned char>;  // PID, table_id

    LastingScan() = default;
    void OnPat(const client::Pat& pat);
    void Follow(unsigned short pid, unsigned char tableId);

    std::unique_ptr<client::Barrier> barrier_;
    std::set<Filter> set_;  // while a source plays, only the event thread uses it and the two below
    std::set<Filter> followed_;
    std::unique_ptr<TableReaders> readers_;
};

}  // namespace fuzzing
