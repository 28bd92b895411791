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

// Receives sections and warnings of a DvbDemux: on the thread that calls WaitAndDeliver, one call
// at a time, with no lock held. May call Add and Remove, not WaitAndDeliver.
class DvbDemuxSink {
  public:
    // A whole section of a wanted PID: `size` bytes, 3 + section_length and at most 4096, borrowed
    // for the call. Match it and check its CRC: a device filter lets more pass than was asked for,
    // and not every device checks the CRC.
    virtual void OnSection(uint16_t pid, const uint8_t* section, size_t size) = 0;

    // Sections of a PID were lost or will not come. The line names the device, the PID and the
    // reason: the buffer ran over, it could not be made larger, or the device has no room for the
    // PID's filters.
    virtual void OnWarning(uint16_t pid, const std::string& line) = 0;

  protected:
    DvbDemuxSink() = default;
    DvbDemuxSink(const DvbDemuxSink&) = default;
    DvbDemuxSink& operator=(const DvbDemuxSink&) = default;
    ~DvbDemuxSink() = default;
};

// What a DvbDemux may use.
struct DvbDemuxLimits {
    size_t filtersPerPid = 4;         // device filters a PID before one wide filter takes over
    size_t devices = 64;              // open devices, each with one device filter
    size_t bufferBytes = 256 * 1024;  // the kernel's buffer of one device; 4096 or more
    size_t wanted = 4096;             // filters added at a time
};

// Gets the sections of a tuned adapter through the kernel's section filters. It opens the demux
// device once for each device filter, and uses as few as it can (DvbFilterPlan). Every new device
// filter restarts the feed of its PID in the kernel. So a PID that needs many gets one wide filter,
// which stays until nothing is wanted of the PID; filters can then be added and removed without a
// restart.
//
// A section that passes several device filters of its PID is handed on once. Only while the filters
// of a PID change can a section get lost or come twice.
//
// Add, Remove and the counters may be called on any thread. Everything else, the destructor
// included, belongs to one thread at a time.
class DvbDemux {
  public:
    // `sink` is borrowed and outlives the demux. `onChange` is called, on the thread that asks for
    // a change and with no lock held, at the first change since the last WaitAndDeliver: it should
    // wake the WaitAndDeliver that waits. May be empty.
    DvbDemux(std::string path, DemuxOpener open, DvbDemuxSink& sink, std::function<void()> onChange,
             DvbDemuxLimits limits = {});
    DvbDemux(const DvbDemux&) = delete;
    DvbDemux& operator=(const DvbDemux&) = delete;
    ~DvbDemux();

    // Asks for the sections of `pid` that match, from the next WaitAndDeliver on. Returns a name
    // for Remove, which is never used again; 0 when refused: a PID above 0x1FFF, a filter that is
    // not well-formed, or too many filters.
    uint64_t Add(uint16_t pid, DvbFilter filter) TV_EXCLUDES(mutex_);

    // Takes that back, from the next WaitAndDeliver on. Returns false for a name that is not in
    // use.
    bool Remove(uint64_t name) TV_EXCLUDES(mutex_);

    // Sets and releases device filters as was asked for. Then waits until a device has sections or
    // an error, `wake` (a descriptor that is never read here) is readable, or a signal comes. Then
    // hands on sections, a limited number, so that it returns soon.
    //
    // Returns false when the device failed or is gone: every device is then closed, and `error`
    // receives one line that names the device, how far it was read, and the reason. The next
    // WaitAndDeliver opens the device again, with all filters that are wanted.
    bool WaitAndDeliver(int wake, std::string& error) TV_EXCLUDES(mutex_);

    // Times a device's buffer ran over (EOVERFLOW), each time with the loss of some sections.
    uint64_t overflows() const { return overflows_.load(std::memory_order_relaxed); }

    // Reads left out because they were no section: a length that is not 3 + section_length.
    uint64_t malformed_sections() const {
        return malformedSections_.load(std::memory_order_relaxed);
    }

  private:
    struct Device;

    struct Wanted {
        uint16_t pid;
        DvbFilter filter;
    };
    // The devices of a PID, the oldest first; a wide one is alone.
    using Devices = std::vector<std::unique_ptr<Device>>;

    enum class Reading { kNothing, kSomething, kFailed };

    // False, with the line in `error`, when the device failed; the devices are then in disorder.
    bool ApplyChanges(std::string& error) TV_EXCLUDES(mutex_);
    bool Serve(uint16_t pid, const std::vector<DvbFilter>& wanted, std::string& error);
    bool Widen(uint16_t pid, Devices& devices, std::string& error);
    bool ReadWaiting(int wake, std::string& error);

    // Opens a device with this filter; 0 or an errno value.
    int Open(const dmx_sct_filter_params& filter, Devices& devices);

    // Reads until nothing is left, but hardly more than `limit` bytes.
    Reading Read(Device& device, const Devices& siblings, size_t limit, std::string& error);
    void OnBytes(Device& device, const Devices& siblings);

    void CloseAll() TV_EXCLUDES(mutex_);
    size_t DeviceCount() const;
    std::string NameOf(uint16_t pid) const;  // of the PID on this device, for messages

    const std::string path_;
    const DemuxOpener open_;
    DvbDemuxSink& sink_;
    const std::function<void()> onChange_;
    const DvbDemuxLimits limits_;

    // The thread's that calls WaitAndDeliver.
    std::map<uint16_t, Devices> byPid_;
    std::set<uint16_t> unserved_;  // PIDs for which the device had no room

    std::atomic<uint64_t> overflows_{0};
    std::atomic<uint64_t> malformedSections_{0};

    Mutex mutex_;
    std::map<uint64_t, Wanted> wanted_ TV_GUARDED_BY(mutex_);  // by name
    uint64_t lastName_ TV_GUARDED_BY(mutex_) = 0;
    std::set<uint16_t> changed_ TV_GUARDED_BY(mutex_);  // PIDs, since the last WaitAndDeliver
};

}  // namespace tvservice
