#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/PcrScanner.h"
#include "softplatform/input/PcrSchedule.h"
#include "softplatform/input/Timer.h"

namespace tvservice {

// Reads another source at the speed of its broadcast, or `speed` times as fast. Its PCRs give the
// time: the bytes after a PCR are held back until PcrSchedule says that they are due, and the bytes
// up to the next PCR then follow without delay. A stream without PCRs is not delayed.
//
// Reads up to kReadAhead bytes of the other source before they are due.
class PaceSource final : public ByteSource {
  public:
    static constexpr size_t kReadAhead = 64 * 1024;

    // Nothing else may use `source` from now on. `speed` is above 0; 1 is real time.
    PaceSource(std::shared_ptr<ByteSource> source, std::unique_ptr<Timer> timer, double speed);

    uint64_t size() const override { return source_->size(); }
    bool rewindable() const override { return source_->rewindable(); }
    bool live() const override { return source_->live(); }
    bool Rewind() override;
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return due_ ? timer_->descriptor() : source_->descriptor(); }

  private:
    const std::shared_ptr<ByteSource> source_;
    const std::unique_ptr<Timer> timer_;
    const double speed_;
    PcrScanner scanner_;
    PcrSchedule schedule_;
    std::vector<uint8_t> buffer_;
    ByteView ahead_;  // bytes read and not yet given: in buffer_, or lent by the source
    std::optional<std::chrono::nanoseconds> due_;  // when the next byte is due; none: at once
};

}  // namespace tvservice
