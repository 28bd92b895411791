#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "softplatform/base/Mutex.h"
#include "softplatform/input/dvb/DemuxDevice.h"
#include "softplatform/input/dvb/DvbFilterPlan.h"
#include "tests/support/TsBytes.h"

namespace testsupport {

constexpr uint16_t kPid = 0x0012;

inline tvservice::DvbFilter TableId(uint8_t table_id, uint8_t mask = 0xFF) {
    return {{table_id}, {mask}, {}};
}

// Whether a filter lets the 18 bytes of the kernel's window pass: the kernel's own way to see it,
// in which it turns the mode bits over and spreads the 16 bytes of the filter over the window.
bool KernelPasses(const dmx_filter& filter, const Bytes& window);

// Plays the kernel: one adapter with one demux, which many may open, each with a section filter and
// a buffer. It filters as the kernel does, through an 18-byte window whose bytes past the end of a
// section are those of the section before. All operations may be called on any thread.
class FakeKernel {
  public:
    class File;  // an open device
    enum class Call { kOpen, kSetBufferSize, kSetFilter };

    explicit FakeKernel(std::string path = "/dev/dvb/adapter0/demux0") : path_(std::move(path)) {}
    FakeKernel(const FakeKernel&) = delete;
    FakeKernel& operator=(const FakeKernel&) = delete;

    const std::string& path() const { return path_; }
    tvservice::DemuxOpener Opener();

    // A section comes on `pid`: each filter that lets it pass keeps a copy, or, when its buffer is
    // full, loses what it kept and the section.
    void Broadcast(uint16_t pid, const Bytes& section) TV_EXCLUDES(mutex_);

    // Hands these bytes to every filter of `pid`, as a driver would that is not right.
    void BroadcastRaw(uint16_t pid, const Bytes& bytes) TV_EXCLUDES(mutex_);

    // From now on there is no such device.
    void Unplug() TV_EXCLUDES(mutex_);
    void PlugIn() TV_EXCLUDES(mutex_);

    // The next `times` calls of this kind fail with `reason`. Others follow in the order in which
    // they were asked for.
    void Fail(Call call, int reason, size_t times = 1) TV_EXCLUDES(mutex_);

    // The next `times` reads of any device fail with `reason`.
    void FailReads(int reason, size_t times = 1) TV_EXCLUDES(mutex_);

    // The devices that are open report an error to who polls, and no read tells of it.
    void HangUp() TV_EXCLUDES(mutex_);

    // One read hands over at most so many bytes.
    void SetReadSize(size_t bytes) TV_EXCLUDES(mutex_);

    // How many filters the demux has; more are refused with EBUSY.
    void SetRoom(size_t filters) TV_EXCLUDES(mutex_);

    // The filters that are set, the oldest device first.
    std::vector<dmx_sct_filter_params> Filters() const TV_EXCLUDES(mutex_);
    // Waits until so many filters are set; false when that does not come to pass.
    bool WaitForFilters(size_t count) TV_EXCLUDES(mutex_);

    size_t OpenFiles() const TV_EXCLUDES(mutex_);
    std::set<size_t> BufferSizes() const TV_EXCLUDES(mutex_);
    size_t SetFilterCalls() const TV_EXCLUDES(mutex_);

  private:
    struct Failure {
        Call call;
        int reason;
        size_t times;
    };

    std::vector<dmx_sct_filter_params> FiltersLocked() const TV_REQUIRES(mutex_);
    int TakeFailure(Call call) TV_REQUIRES(mutex_);
    std::unique_ptr<tvservice::DemuxDevice> Open(const std::string& path, int& error)
        TV_EXCLUDES(mutex_);

    const std::string path_;

    mutable tvservice::Mutex mutex_;
    tvservice::CondVar filtersChanged_;
    std::vector<File*> files_ TV_GUARDED_BY(mutex_);  // open, the oldest first
    Bytes window_ TV_GUARDED_BY(mutex_) = Bytes(18);
    std::vector<Failure> failures_ TV_GUARDED_BY(mutex_);
    int readReason_ TV_GUARDED_BY(mutex_) = 0;
    size_t readFailures_ TV_GUARDED_BY(mutex_) = 0;
    size_t readSize_ TV_GUARDED_BY(mutex_) = SIZE_MAX;
    size_t room_ TV_GUARDED_BY(mutex_) = SIZE_MAX;
    size_t setFilterCalls_ TV_GUARDED_BY(mutex_) = 0;
    bool isPresent_ TV_GUARDED_BY(mutex_) = true;
};

}  // namespace testsupport
