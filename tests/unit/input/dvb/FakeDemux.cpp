#include "tests/unit/input/dvb/FakeDemux.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <deque>
#include <optional>
#include <system_error>

#include "softplatform/input/FileDescriptor.h"

namespace testsupport {

using tvservice::DemuxDevice;
using tvservice::DemuxOpener;
using tvservice::FileDescriptor;
using tvservice::MutexLock;

namespace {

constexpr size_t kWindow = 18;

}  // namespace

bool KernelPasses(const dmx_filter& filter, const Bytes& window) {
    uint8_t value[kWindow] = {};
    uint8_t mask[kWindow] = {};
    uint8_t equalMode[kWindow] = {};
    for (size_t i = 0; i < DMX_FILTER_SIZE; ++i) {
        const size_t at = i == 0 ? 0 : i + 2;
        value[at] = filter.filter[i];
        mask[at] = filter.mask[i];
        equalMode[at] = static_cast<uint8_t>(~filter.mode[i]);
    }
    bool asksDifference = false;
    bool differs = false;
    for (size_t i = 0; i < kWindow; ++i) {
        const int changed = value[i] ^ window[i];
        if ((mask[i] & equalMode[i] & changed) != 0) {
            return false;
        }
        const int differ = mask[i] & ~equalMode[i];
        asksDifference = asksDifference || differ != 0;
        differs = differs || (differ & changed) != 0;
    }
    return differs || !asksDifference;
}

class FakeKernel::File final : public DemuxDevice {
  public:
    explicit File(FakeKernel& kernel) : kernel_(kernel) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe2");
        }
        polled_ = FileDescriptor(ends[0]);
        bell_ = FileDescriptor(ends[1]);
    }

    ~File() override {
        MutexLock lock(kernel_.mutex_);
        auto& files = kernel_.files_;
        files.erase(std::find(files.begin(), files.end(), this));
        kernel_.filtersChanged_.NotifyAll();
    }

    int SetBufferSize(size_t bytes) override {
        MutexLock lock(kernel_.mutex_);
        if (const int reason = kernel_.TakeFailure(Call::kSetBufferSize); reason != 0) {
            return reason;
        }
        if (filter_) {
            return EBUSY;
        }
        bufferSize_ = bytes;
        return 0;
    }

    int SetFilter(const dmx_sct_filter_params& filter) override {
        MutexLock lock(kernel_.mutex_);
        const int failure = kernel_.TakeFailure(Call::kSetFilter);
        if (failure == EINTR) {
            return failure;
        }
        ++kernel_.setFilterCalls_;
        filter_.reset();
        Forget();
        if (failure != 0 || !kernel_.isPresent_) {
            return failure != 0 ? failure : ENODEV;
        }
        const auto used = std::count_if(kernel_.files_.begin(), kernel_.files_.end(),
                                        [](const File* file) { return file->filter_.has_value(); });
        if (static_cast<size_t>(used) >= kernel_.room_) {
            return EBUSY;
        }
        filter_ = filter;
        kernel_.filtersChanged_.NotifyAll();
        return 0;
    }

    ssize_t Read(uint8_t* buffer, size_t size) override {
        MutexLock lock(kernel_.mutex_);
        if (kernel_.readFailures_ > 0) {
            --kernel_.readFailures_;
            return -kernel_.readReason_;
        }
        if (!kernel_.isPresent_) {
            return -ENODEV;
        }
        if (ranOver_) {
            Forget();
            return -EOVERFLOW;
        }
        if (kept_.empty()) {
            return -EAGAIN;
        }
        Bytes& next = kept_.front();
        const size_t count = std::min({size, next.size(), kernel_.readSize_});
        std::copy_n(next.begin(), count, buffer);
        next.erase(next.begin(), next.begin() + static_cast<std::ptrdiff_t>(count));
        if (next.empty()) {
            kept_.pop_front();
        }
        keptBytes_ -= count;
        if (kept_.empty()) {
            Settle();
        }
        return static_cast<ssize_t>(count);
    }

    int descriptor() const override { return polled_.get(); }

    // The fake kernel calls the functions below with its lock held.

    const std::optional<dmx_sct_filter_params>& filter() const { return filter_; }
    size_t bufferSize() const { return bufferSize_; }

    void Keep(const Bytes& bytes) {
        if (ranOver_) {
            return;
        }
        if (keptBytes_ + bytes.size() > bufferSize_) {
            ranOver_ = true;
        } else {
            kept_.push_back(bytes);
            keptBytes_ += bytes.size();
        }
        Stir();
    }

    // Wakes a poll(2) on the device.
    void Stir() {
        const uint8_t ring = 1;
        while (::write(bell_.get(), &ring, sizeof(ring)) < 0 && errno == EINTR) {
        }
    }

    void HangUp() { bell_ = FileDescriptor(); }

  private:
    void Settle() {
        Bytes rings(4096);
        for (ssize_t count = 1; count > 0 || (count < 0 && errno == EINTR);) {
            count = ::read(polled_.get(), rings.data(), rings.size());
        }
    }
    void Forget() {
        kept_.clear();
        keptBytes_ = 0;
        ranOver_ = false;
        Settle();
    }

    FakeKernel& kernel_;
    FileDescriptor polled_;  // the ends of a pipe
    FileDescriptor bell_;
    std::optional<dmx_sct_filter_params> filter_;
    size_t bufferSize_ = 8192;
    std::deque<Bytes> kept_;
    size_t keptBytes_ = 0;
    bool ranOver_ = false;
};

DemuxOpener FakeKernel::Opener() {
    return [this](const std::string& path, int& error) { return Open(path, error); };
}

std::unique_ptr<DemuxDevice> FakeKernel::Open(const std::string& path, int& error) {
    MutexLock lock(mutex_);
    if (const int reason = TakeFailure(Call::kOpen); reason != 0) {
        error = reason;
        return nullptr;
    }
    if (path != path_ || !isPresent_) {
        error = ENOENT;
        return nullptr;
    }
    auto file = std::make_unique<File>(*this);
    files_.push_back(file.get());
    return file;
}

void FakeKernel::Broadcast(uint16_t pid, const Bytes& section) {
    MutexLock lock(mutex_);
    std::copy_n(section.begin(), std::min(section.size(), kWindow), window_.begin());
    for (File* file : files_) {
        if (file->filter() && file->filter()->pid == pid &&
            KernelPasses(file->filter()->filter, window_)) {
            file->Keep(section);
        }
    }
}

void FakeKernel::BroadcastRaw(uint16_t pid, const Bytes& bytes) {
    MutexLock lock(mutex_);
    for (File* file : files_) {
        if (file->filter() && file->filter()->pid == pid) {
            file->Keep(bytes);
        }
    }
}

void FakeKernel::Unplug() {
    MutexLock lock(mutex_);
    isPresent_ = false;
    for (File* file : files_) {
        file->Stir();
    }
}

void FakeKernel::PlugIn() {
    MutexLock lock(mutex_);
    isPresent_ = true;
}

void FakeKernel::Fail(Call call, int reason, size_t times) {
    MutexLock lock(mutex_);
    failures_.push_back({call, reason, times});
}

void FakeKernel::FailReads(int reason, size_t times) {
    MutexLock lock(mutex_);
    readReason_ = reason;
    readFailures_ = times;
    for (File* file : files_) {
        file->Stir();
    }
}

void FakeKernel::SetReadSize(size_t bytes) {
    MutexLock lock(mutex_);
    readSize_ = bytes;
}

void FakeKernel::SetRoom(size_t filters) {
    MutexLock lock(mutex_);
    room_ = filters;
}

void FakeKernel::HangUp() {
    MutexLock lock(mutex_);
    for (File* file : files_) {
        file->HangUp();
    }
}

std::vector<dmx_sct_filter_params> FakeKernel::Filters() const {
    MutexLock lock(mutex_);
    return FiltersLocked();
}

bool FakeKernel::WaitForFilters(size_t count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    MutexLock lock(mutex_);
    while (FiltersLocked().size() != count) {
        if (!filtersChanged_.WaitUntil(mutex_, deadline)) {
            return false;
        }
    }
    return true;
}

std::vector<dmx_sct_filter_params> FakeKernel::FiltersLocked() const {
    std::vector<dmx_sct_filter_params> filters;
    for (const File* file : files_) {
        if (file->filter()) {
            filters.push_back(*file->filter());
        }
    }
    return filters;
}

size_t FakeKernel::OpenFiles() const {
    MutexLock lock(mutex_);
    return files_.size();
}

std::set<size_t> FakeKernel::BufferSizes() const {
    MutexLock lock(mutex_);
    std::set<size_t> sizes;
    for (const File* file : files_) {
        sizes.insert(file->bufferSize());
    }
    return sizes;
}

size_t FakeKernel::SetFilterCalls() const {
    MutexLock lock(mutex_);
    return setFilterCalls_;
}

int FakeKernel::TakeFailure(Call call) {
    const auto found = std::find_if(failures_.begin(), failures_.end(),
                                    [call](const Failure& f) { return f.call == call; });
    if (found == failures_.end()) {
        return 0;
    }
    const int reason = found->reason;
    if (--found->times == 0) {
        failures_.erase(found);
    }
    return reason;
}

}  // namespace testsupport
