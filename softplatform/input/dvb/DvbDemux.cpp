#include "softplatform/input/dvb/DvbDemux.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "softplatform/input/ErrorText.h"

namespace tvservice {

namespace {

constexpr uint16_t kMaxPid = 0x1FFF;
constexpr size_t kHeaderSize = 3;              // up to and including section_length
constexpr size_t kMaxSectionSize = 4096;       // ISO/IEC 13818-1 2.4.4.11
constexpr size_t kBytesPerDevice = 16 * 1024;  // in one WaitAndDeliver

// Repeats `call`, which returns 0 or an errno value, as long as a signal interrupts it (EINTR).
template <class Call>
int Uninterrupted(Call call) {
    int result = call();
    while (result == EINTR) {
        result = call();
    }
    return result;
}

// Whether a device refused a filter because it lacks filters, memory or the ability. It has not
// failed, and may accept another filter.
bool IsWantOfRoom(int reason) {
    return reason == EBUSY || reason == EMFILE || reason == ENFILE || reason == ENOMEM ||
           reason == ENOSPC || reason == EINVAL || reason == EOPNOTSUPP;
}

std::string Text(int reason) {
    return std::generic_category().message(reason);
}

}  // namespace

struct DvbDemux::Device {
    std::unique_ptr<DemuxDevice> demux;
    dmx_sct_filter_params filter;
    uint64_t position = 0;  // bytes read in all
    size_t held = 0;        // bytes in `bytes`: the first part of a section
    std::array<uint8_t, kMaxSectionSize> bytes{};
};

DvbDemux::DvbDemux(std::string path, DemuxOpener open, DvbDemuxSink& sink,
                   std::function<void()> onChange, DvbDemuxLimits limits)
    : path_(std::move(path)),
      open_(std::move(open)),
      sink_(sink),
      onChange_(std::move(onChange)),
      limits_(limits) {}

DvbDemux::~DvbDemux() = default;

uint64_t DvbDemux::Add(uint16_t pid, DvbFilter filter) {
    if (pid > kMaxPid || !filter.IsWellFormed()) {
        return 0;
    }
    uint64_t name = 0;
    bool isFirst = false;
    {
        MutexLock lock(mutex_);
        if (wanted_.size() >= limits_.wanted) {
            return 0;
        }
        name = ++lastName_;
        wanted_.emplace(name, Wanted{pid, std::move(filter)});
        isFirst = changed_.empty();
        changed_.insert(pid);
    }
    if (isFirst && onChange_) {
        onChange_();
    }
    return name;
}

bool DvbDemux::Remove(uint64_t name) {
    bool isFirst = false;
    {
        MutexLock lock(mutex_);
        const auto found = wanted_.find(name);
        if (found == wanted_.end()) {
            return false;
        }
        isFirst = changed_.empty();
        changed_.insert(found->second.pid);
        wanted_.erase(found);
    }
    if (isFirst && onChange_) {
        onChange_();
    }
    return true;
}

bool DvbDemux::WaitAndDeliver(int wake, std::string& error) {
    if (ApplyChanges(error) && ReadWaiting(wake, error)) {
        return true;
    }
    CloseAll();
    return false;
}

bool DvbDemux::ApplyChanges(std::string& error) {
    std::map<uint16_t, std::vector<DvbFilter>> changed;
    {
        MutexLock lock(mutex_);
        if (changed_.empty()) {
            return true;
        }
        for (const uint16_t pid : changed_) {
            changed[pid];
        }
        for (const uint16_t pid : unserved_) {
            changed[pid];
        }
        for (const auto& [name, wanted] : wanted_) {
            if (const auto found = changed.find(wanted.pid); found != changed.end()) {
                found->second.push_back(wanted.filter);
            }
        }
        changed_.clear();
    }
    // First the filters that are no longer wanted are released: that makes room for new ones.
    for (const auto& [pid, wanted] : changed) {
        if (wanted.empty()) {
            byPid_.erase(pid);
            unserved_.erase(pid);
        }
    }
    return std::all_of(changed.begin(), changed.end(), [&](const auto& change) {
        return change.second.empty() || Serve(change.first, change.second, error);
    });
}

bool DvbDemux::Serve(uint16_t pid, const std::vector<DvbFilter>& wanted, std::string& error) {
    Devices& devices = byPid_[pid];
    if (!devices.empty() && IsWide(devices.front()->filter)) {
        return true;
    }
    const std::vector<dmx_sct_filter_params> plan =
        PlanDeviceFilters(pid, wanted, limits_.filtersPerPid);
    if (IsWide(plan.front())) {
        return Widen(pid, devices, error);
    }
    for (const dmx_sct_filter_params& filter : plan) {
        if (std::any_of(devices.begin(), devices.end(),
                        [&](const auto& device) { return AreEqual(device->filter, filter); })) {
            continue;
        }
        const int reason = Open(filter, devices);
        if (IsWantOfRoom(reason)) {
            return Widen(pid, devices, error);
        }
        if (reason != 0) {
            error = "cannot filter " + NameOf(pid) + ": " + Text(reason);
            return false;
        }
    }
    unserved_.erase(pid);
    const auto stays = [&](const auto& device) {
        return std::any_of(plan.begin(), plan.end(),
                           [&](const auto& filter) { return AreEqual(device->filter, filter); });
    };
    if (std::all_of(devices.begin(), devices.end(), stays)) {
        return true;
    }
    // The kernel's buffer of a leaving device may hold sections that are still wanted; as long as
    // the device is listed, the staying ones do not hand them on (OnBytes). So the leaving devices
    // are read before they are closed. The staying ones are read before that: a section that comes
    // between the two reads is handed on twice, and not lost.
    for (const bool staying : {true, false}) {
        for (const auto& device : devices) {
            if (stays(device) == staying &&
                Read(*device, devices, limits_.bufferBytes, error) == Reading::kFailed) {
                return false;
            }
        }
    }
    devices.erase(std::remove_if(devices.begin(), devices.end(), std::not_fn(stays)),
                  devices.end());
    return true;
}

bool DvbDemux::Widen(uint16_t pid, Devices& devices, std::string& error) {
    const dmx_sct_filter_params wide = WideDeviceFilter(pid);
    int reason = 0;
    if (devices.empty()) {
        reason = Open(wide, devices);
    } else {
        // Widens the filter of the oldest device, because there may be no room for a new device.
        for (const auto& device : devices) {
            if (Read(*device, devices, limits_.bufferBytes, error) == Reading::kFailed) {
                return false;
            }
        }
        devices.resize(1);
        Device& device = *devices.front();
        device.filter = wide;
        device.held = 0;
        reason = Uninterrupted([&] { return device.demux->SetFilter(wide); });
    }
    if (reason == 0) {
        unserved_.erase(pid);
        return true;
    }
    if (!IsWantOfRoom(reason)) {
        error = "cannot filter " + NameOf(pid) + ": " + Text(reason);
        return false;
    }
    devices.clear();
    if (unserved_.insert(pid).second) {
        sink_.OnWarning(pid, "no room to filter " + NameOf(pid) + ": " + Text(reason));
    }
    return true;
}

int DvbDemux::Open(const dmx_sct_filter_params& filter, Devices& devices) {
    if (DeviceCount() >= limits_.devices) {
        return EMFILE;
    }
    auto device = std::make_unique<Device>();
    device->filter = filter;
    int reason = Uninterrupted([&] {
        int problem = 0;
        device->demux = open_(path_, problem);
        return device->demux == nullptr ? problem : 0;
    });
    if (reason != 0) {
        return reason;
    }
    reason = Uninterrupted([&] { return device->demux->SetBufferSize(limits_.bufferBytes); });
    if (reason == ENODEV) {
        return reason;
    }
    if (reason != 0) {
        sink_.OnWarning(filter.pid, "cannot set the buffer size for " + NameOf(filter.pid) + ": " +
                                        Text(reason));
    }
    reason = Uninterrupted([&] { return device->demux->SetFilter(filter); });
    if (reason == 0) {
        devices.push_back(std::move(device));
    }
    return reason;
}

bool DvbDemux::ReadWaiting(int wake, std::string& error) {
    struct Waiting {
        Device* device;
        const Devices* siblings;
    };
    std::vector<Waiting> waiting;
    std::vector<pollfd> ready{{wake, POLLIN, 0}};
    for (const auto& [pid, devices] : byPid_) {
        for (const auto& device : devices) {
            waiting.push_back({device.get(), &devices});
            ready.push_back({device->demux->descriptor(), POLLIN, 0});
        }
    }
    if (::poll(ready.data(), ready.size(), -1) < 0) {
        const int reason = errno;
        if (reason == EINTR) {
            return true;
        }
        error = "cannot wait for " + path_ + ": " + Text(reason);
        return false;
    }
    for (size_t i = 0; i < waiting.size(); ++i) {
        const short events = ready[i + 1].revents;
        if (events == 0) {
            continue;
        }
        Device& device = *waiting[i].device;
        const Reading reading = Read(device, *waiting[i].siblings, kBytesPerDevice, error);
        if (reading == Reading::kFailed) {
            return false;
        }
        // When poll reports an error that Read does not return, every WaitAndDeliver would be woken
        // at once, forever. So it counts as a failure of the device.
        if (reading == Reading::kNothing && (events & ~POLLIN) != 0) {
            error = ReadErrorText(NameOf(device.filter.pid), device.position, EIO);
            return false;
        }
    }
    return true;
}

DvbDemux::Reading DvbDemux::Read(Device& device, const Devices& siblings, size_t limit,
                                 std::string& error) {
    const uint16_t pid = device.filter.pid;
    Reading reading = Reading::kNothing;
    for (size_t done = 0; done < limit;) {
        const ssize_t count = device.demux->Read(device.bytes.data() + device.held,
                                                 device.bytes.size() - device.held);
        if (count > 0) {
            reading = Reading::kSomething;
            done += static_cast<size_t>(count);
            device.position += static_cast<uint64_t>(count);
            device.held += static_cast<size_t>(count);
            OnBytes(device, siblings);
            continue;
        }
        const int reason = static_cast<int>(-count);
        if (reason == EINTR) {
            continue;
        }
        if (reason == EAGAIN) {
            return reading;
        }
        if (reason == EOVERFLOW) {
            device.held = 0;
            overflows_.fetch_add(1, std::memory_order_relaxed);
            sink_.OnWarning(pid, "sections lost on " + NameOf(pid) + ": the buffer overflowed");
            return Reading::kSomething;
        }
        error = ReadErrorText(NameOf(pid), device.position,
                              reason == 0 ? std::string("it has ended") : Text(reason));
        return Reading::kFailed;
    }
    return reading;
}

void DvbDemux::OnBytes(Device& device, const Devices& siblings) {
    if (device.held < kHeaderSize) {
        return;
    }
    const uint8_t* const section = device.bytes.data();
    const size_t size = kHeaderSize + ((size_t{section[1]} & 0x0F) << 8 | section[2]);
    if (device.held < size && size <= kMaxSectionSize) {
        return;
    }
    if (std::exchange(device.held, 0) != size) {
        malformedSections_.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    // When the section passes the filters of several devices, only the oldest hands it on.
    const auto first = std::find_if(siblings.begin(), siblings.end(), [&](const auto& sibling) {
        return Passes(sibling->filter, section, size);
    });
    if (first != siblings.end() && first->get() == &device) {
        sink_.OnSection(device.filter.pid, section, size);
    }
}

void DvbDemux::CloseAll() {
    byPid_.clear();
    unserved_.clear();
    MutexLock lock(mutex_);
    for (const auto& [name, wanted] : wanted_) {
        changed_.insert(wanted.pid);
    }
}

size_t DvbDemux::DeviceCount() const {
    size_t count = 0;
    for (const auto& [pid, devices] : byPid_) {
        count += devices.size();
    }
    return count;
}

std::string DvbDemux::NameOf(uint16_t pid) const {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "PID 0x%04X", unsigned{pid});
    return std::string(text.data()) + " of " + path_;
}

}  // namespace tvservice
