#pragma once

#include <linux/dvb/dmx.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tvservice {

// One open demux device with one section filter: the calls of the kernel's DVB API, one to one. All
// logic is in DvbDemux, so that a test's stand-in for the kernel stays small. Used by one thread at
// a time; the destructor closes the device.
//
// Failures are errno values. No call waits. Any call may fail with EINTR without an effect; the
// caller repeats it.
class DemuxDevice {
  public:
    virtual ~DemuxDevice() = default;
    DemuxDevice(const DemuxDevice&) = delete;
    DemuxDevice& operator=(const DemuxDevice&) = delete;

    // DMX_SET_BUFFER_SIZE: how many bytes of sections the kernel keeps for the reader. Before the
    // first SetFilter; EBUSY later. 0 on success.
    virtual int SetBufferSize(size_t bytes) = 0;

    // DMX_SET_FILTER: drops the sections that the kernel keeps and sets this filter. 0 on success;
    // after a failure no filter is set.
    virtual int SetFilter(const dmx_sct_filter_params& filter) = 0;

    // Reads at most `size` bytes into `buffer`: those of one section, or what the reads before left
    // of it. The number of bytes, or minus an errno value: EAGAIN when there is nothing,
    // EOVERFLOW when sections were lost because the reader was too slow (what was kept is lost
    // too), ENODEV when the device is gone.
    virtual ssize_t Read(uint8_t* buffer, size_t size) = 0;

    // What poll(2) waits on: POLLIN when Read has bytes or an error.
    virtual int descriptor() const = 0;

  protected:
    DemuxDevice() = default;
};

// Opens the demux device at a path. Null on failure; `error` then receives the errno value.
using DemuxOpener =
    std::function<std::unique_ptr<DemuxDevice>(const std::string& path, int& error)>;

}  // namespace tvservice
