#pragma once

#include <linux/dvb/dmx.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "softplatform/base/Mutex.h"
#include "softplatform/input/dvb/DemuxDevice.h"
#include "softplatform/input/dvb/DvbFilterPlan.h"

namespace tvservice {

// Receives the sections and warnings of a DvbDemux. Called by WaitAndDeliver, on its thread, with
// no lock held. May call Add and Remove, but not WaitAndDeliver.
class DvbDemuxSink {
  public:
    // A whole section of a wanted PID: `size` is 3 + section_length, at most 4096; the bytes are
    // borrowed for the call. The receiver of the call must match the section and check its CRC: a
    // device filter may pass more than was asked for, and not every device checks the CRC.
    virtual void OnSection(uint16_t pid, const uint8_t* section, size_t size) = 0;

    // Sections of a PID were lost, may get lost, or will not come. `line` names the device, the PID
    // and the reason: the kernel's buffer overflowed, it could not be made larger, or the device
    // has no filter left for the PID.
    virtual void OnWarning(uint16_t pid, const std::string& line) = 0;

  protected:
    DvbDemuxSink() = default;
    DvbDemuxSink(const DvbDemuxSink&) = default;
    DvbDemuxSink& operator=(const DvbDemuxSink&) = default;
    ~DvbDemuxSink() = default;
};

// How much a DvbDemux may use.
struct DvbDemuxLimits {
    size_t filtersPerPid = 4;         // device filters; a PID that needs more gets one wide filter
    size_t devices = 64;              // open devices, each with one device filter
    size_t bufferBytes = 256 * 1024;  // the kernel's buffer of one device; 4096 or more
    size_t wanted = 4096;             // filters that are added and not removed
};

// Gets the sections of a tuned adapter through the kernel's section filters. It opens the demux
// device once for each device filter, and uses as few filters as it can (DvbFilterPlan). Each new
// device filter makes the kernel restart the feed of its PID. So a PID that needs many filters gets
// one wide filter instead, which passes all sections of the PID and stays until nothing is wanted
// of the PID: filters are then added and removed without a restart.
//
// A section that passes several device filters of its PID is handed on once. Only while the filters
// of a PID change can a section be lost or handed on twice.
//
// Add, Remove and the counters may be called on any thread. Everything else, the destructor
// included, is used by one thread at a time.
class DvbDemux {
  public:
    // `sink` is borrowed and outlives the demux. `onChange` is called by the first Add or Remove
    // after a WaitAndDeliver, with no lock held; it should wake a WaitAndDeliver that waits. May be
    // empty.
    DvbDemux(std::string path, DemuxOpener open, DvbDemuxSink& sink, std::function<void()> onChange,
             DvbDemuxLimits limits = {});
    DvbDemux(const DvbDemux&) = delete;
    DvbDemux& operator=(const DvbDemux&) = delete;
    ~DvbDemux();

    // Asks for the sections of `pid` that match `filter`. Takes effect in the next WaitAndDeliver.
    // Returns a name for Remove, different each time. Returns 0 when refused: the PID is above
    // 0x1FFF, the filter is not well-formed, or there are too many filters.
    uint64_t Add(uint16_t pid, DvbFilter filter) TV_EXCLUDES(mutex_);

    // Removes the filter with that name. Takes effect in the next WaitAndDeliver. Returns false
    // when no filter has that name.
    bool Remove(uint64_t name) TV_EXCLUDES(mutex_);

    // Does three things: sets and releases device filters as Add and Remove asked for; waits until
    // a device has sections or an error, `wake` is readable (it is polled, never read), or a signal
    // comes; hands on the sections that have come. It returns soon, because it hands on a limited
    // number; the rest follows in the next call.
    //
    // Returns false when the device failed or is gone. All devices are then closed, and `error`
    // receives one line with the device, how far it was read, and the reason. The next
    // WaitAndDeliver opens the devices again, with all filters that are wanted.
    bool WaitAndDeliver(int wake, std::string& error) TV_EXCLUDES(mutex_);

    // How often a device's buffer overflowed (EOVERFLOW). Each time sections were lost.
    uint64_t overflows() const { return overflows_.load(std::memory_order_relaxed); }

    // Reads whose length is not 3 + section_length. They were dropped.
    uint64_t malformed_sections() const {
        return malformedSections_.load(std::memory_order_relaxed);
    }

  private:
    struct Device;

    struct Wanted {
        uint16_t pid;
        DvbFilter filter;
    };
    // The devices of a PID, the oldest first. A device with a wide filter is the only one.
    using Devices = std::vector<std::unique_ptr<Device>>;

    enum class Reading { kNothing, kSomething, kFailed };

    // The four below return false when the device failed; `error` then receives the line, and the
    // caller must call CloseAll, because byPid_ may not fit what is wanted.
    bool ApplyChanges(std::string& error) TV_EXCLUDES(mutex_);
    bool Serve(uint16_t pid, const std::vector<DvbFilter>& wanted, std::string& error);
    bool Widen(uint16_t pid, Devices& devices, std::string& error);
    bool ReadWaiting(int wake, std::string& error);

    // Opens a device with this filter and adds it to `devices`. Returns 0 or an errno value.
    int Open(const dmx_sct_filter_params& filter, Devices& devices);

    // Reads until nothing is left or `limit` bytes were read, at most one section more.
    Reading Read(Device& device, const Devices& siblings, size_t limit, std::string& error);
    void OnBytes(Device& device, const Devices& siblings);

    void CloseAll() TV_EXCLUDES(mutex_);
    size_t DeviceCount() const;
    std::string NameOf(uint16_t pid) const;  // "PID 0x0011 of /dev/...", for messages

    const std::string path_;
    const DemuxOpener open_;
    DvbDemuxSink& sink_;
    const std::function<void()> onChange_;
    const DvbDemuxLimits limits_;

    // Used only by the thread that calls WaitAndDeliver.
    std::map<uint16_t, Devices> byPid_;
    std::set<uint16_t> unserved_;  // PIDs that got no device filter; tried again at each change

    std::atomic<uint64_t> overflows_{0};
    std::atomic<uint64_t> malformedSections_{0};

    Mutex mutex_;
    std::map<uint64_t, Wanted> wanted_ TV_GUARDED_BY(mutex_);  // by name
    uint64_t lastName_ TV_GUARDED_BY(mutex_) = 0;
    // The PIDs whose filters changed since the last WaitAndDeliver.
    std::set<uint16_t> changed_ TV_GUARDED_BY(mutex_);
};

}  // namespace tvservice
