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

// Returns whether a filter lets the 18 bytes of the kernel's window pass. It does what the kernel
// does: it inverts the mode bits and spreads the 16 bytes of the filter over the window.
bool KernelPasses(const dmx_filter& filter, const Bytes& window);

// A fake kernel: one adapter with one demux. Each open device has a section filter and a buffer. It
// filters as the kernel does, through a window of 18 bytes; behind the end of a short section the
// window holds bytes of the section before. Any thread may call any operation.
class FakeKernel {
  public:
    class File;  // an open device
    enum class Call { kOpen, kSetBufferSize, kSetFilter };

    explicit FakeKernel(std::string path = "/dev/dvb/adapter0/demux0") : path_(std::move(path)) {}
    FakeKernel(const FakeKernel&) = delete;
    FakeKernel& operator=(const FakeKernel&) = delete;

    const std::string& path() const { return path_; }
    tvservice::DemuxOpener Opener();

    // Sends a section on `pid`. Each filter that lets it pass keeps a copy. When its buffer is
    // full, it loses what it kept and the section.
    void Broadcast(uint16_t pid, const Bytes& section) TV_EXCLUDES(mutex_);

    // Gives these bytes to every filter of `pid`, as a faulty driver would.
    void BroadcastRaw(uint16_t pid, const Bytes& bytes) TV_EXCLUDES(mutex_);

    // Removes the device: from now on it does not exist.
    void Unplug() TV_EXCLUDES(mutex_);
    void PlugIn() TV_EXCLUDES(mutex_);

    // Makes the next `times` calls of this kind fail with `reason`. Several requests apply in the
    // order of their calls.
    void Fail(Call call, int reason, size_t times = 1) TV_EXCLUDES(mutex_);

    // Makes the next `times` reads of any device fail with `reason`.
    void FailReads(int reason, size_t times = 1) TV_EXCLUDES(mutex_);

    // Makes poll(2) report an error for the open devices, while reads report none.
    void HangUp() TV_EXCLUDES(mutex_);

    // Limits the bytes that one read gives.
    void SetReadSize(size_t bytes) TV_EXCLUDES(mutex_);

    // Sets how many filters the demux has. It refuses more with EBUSY.
    void SetRoom(size_t filters) TV_EXCLUDES(mutex_);

    // Returns the filters that are set, the oldest device first.
    std::vector<dmx_sct_filter_params> Filters() const TV_EXCLUDES(mutex_);
    // Waits until this many filters are set. Returns false when that does not happen in time.
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
