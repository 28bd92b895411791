#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/Timer.h"

namespace tvservice {

// A file that grows while it is read. At its end it has no bytes yet, and is read again every
// kInterval. Notifications of the file system (inotify) are not used: they do not come for files
// that other machines write. A file that becomes shorter than what was read of it fails.
class FollowSource final : public ByteSource {
  public:
    static constexpr std::chrono::milliseconds kInterval{50};

    // `source` is a file (FileSource): it can give more bytes after its end. Both become this one's
    // alone.
    FollowSource(std::shared_ptr<ByteSource> source, std::unique_ptr<Timer> timer);

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return source_->rewindable(); }
    bool live() const override { return true; }
    bool Rewind() override { return source_->Rewind(); }
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return timer_->descriptor(); }

  private:
    const std::shared_ptr<ByteSource> source_;
    const std::unique_ptr<Timer> timer_;
};

}  // namespace tvservice
