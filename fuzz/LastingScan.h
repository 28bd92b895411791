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

// Scans one input after the other by the same subscriptions. A process can make 65535 of them
// (client::kLastServedId): with those of a client::MultiplexScanner, which begins anew each time,
// it would be at its end after some thousand inputs.
//
// Everything between the bytes and what the tool prints takes part: receiver, subscriber, section
// manager, the SI layer's parsers and the platform's, and the client's readers.
class LastingScan final : public TORVEL_MW::ISectionObserver {
  public:
    // The only one, never destroyed. The first call starts the platform.
    static LastingScan& Instance();

    // Plays the source in lock-step and returns how it ended; nothing else may be playing. PIDs
    // that a PAT names are followed from the next packet on. Tables on those of earlier inputs,
    // whose filters are still set, are left out, and so are PIDs beyond kMaxFilters.
    tvservice::InputEnd Scan(const tvservice::SourcePtr& source);

    // Makes way for a scan of another kind, which has a barrier of its own: of two the first answer
    // would count, and the other would not have come yet. Until the next Scan; costs a
    // subscription.
    void StepAside() { barrier_.reset(); }

    // What the last scan has found. Not while one runs.
    client::Multiplex Result() const;

    // What the process has set; leaves room for scans of other kinds.
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
    std::set<Filter> set_;  // the event thread's while a source plays, like the two below
    std::set<Filter> followed_;
    std::unique_ptr<TableReaders> readers_;
};

}  // namespace fuzzing
