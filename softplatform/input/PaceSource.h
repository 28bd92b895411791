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

// Plays another source as fast as it was broadcast, or `speed` times as fast, by its PCRs: the
// bytes after a PCR are given when that PCR is due (PcrSchedule), the bytes up to it at once. A
// stream without PCRs is not delayed.
//
// Reads the other source up to kReadAhead bytes before they are due.
class PaceSource final : public ByteSource {
  public:
    static constexpr size_t kReadAhead = 64 * 1024;

    // Both become this one's alone. `speed` is above 0; 1 is real time.
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
    ByteView ahead_;  // what was read ahead: in buffer_, or lent by the source
    std::optional<std::chrono::nanoseconds> due_;  // the time of the next byte, if it is known
};

}  // namespace tvservice
