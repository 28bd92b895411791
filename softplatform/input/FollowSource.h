#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/Timer.h"

namespace tvservice {

// A file that grows while it is read. At its end Read returns kWouldBlock, and the file is tried
// again after kInterval. Notifications of the file system (inotify) are not used: they do not come
// for files that other machines write. When the file becomes shorter than the part that was read,
// Read fails.
class FollowSource final : public ByteSource {
  public:
    static constexpr std::chrono::milliseconds kInterval{50};

    // `source` is a file (FileSource), which can give bytes again after kEnd. Nothing else may use
    // `source` from now on.
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
