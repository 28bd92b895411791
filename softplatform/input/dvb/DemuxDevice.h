#pragma once

#include <linux/dvb/dmx.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tvservice {

// One open demux device with one section filter. Each function is one call of the kernel's DVB API;
// all logic is in DvbDemux, so that a test can replace the kernel with little code. Used by one
// thread at a time. The destructor closes the device.
//
// Failures are errno values. No call waits. Any call may fail with EINTR and has then had no
// effect; the caller repeats it.
class DemuxDevice {
  public:
    virtual ~DemuxDevice() = default;
    DemuxDevice(const DemuxDevice&) = delete;
    DemuxDevice& operator=(const DemuxDevice&) = delete;

    // DMX_SET_BUFFER_SIZE: sets the size of the kernel's buffer for sections that were not read
    // yet. Call it before the first SetFilter; later it fails with EBUSY. Returns 0 on success.
    virtual int SetBufferSize(size_t bytes) = 0;

    // DMX_SET_FILTER: empties the kernel's buffer and sets this filter. Returns 0 on success; after
    // a failure no filter is set.
    virtual int SetFilter(const dmx_sct_filter_params& filter) = 0;

    // Reads at most `size` bytes of one section into `buffer`; the next call goes on in the same
    // section until all of it was read. Returns the number of bytes, or an errno value as a
    // negative number: EAGAIN when there is nothing to read, EOVERFLOW when the buffer overflowed
    // because the reader was too slow (everything in it is lost), ENODEV when the device is gone.
    virtual ssize_t Read(uint8_t* buffer, size_t size) = 0;

    // What poll(2) waits on, for POLLIN: set when Read would return bytes or an error.
    virtual int descriptor() const = 0;

  protected:
    DemuxDevice() = default;
};

// Opens the demux device at a path. Null on failure; `error` then receives the errno value.
using DemuxOpener =
    std::function<std::unique_ptr<DemuxDevice>(const std::string& path, int& error)>;

}  // namespace tvservice
