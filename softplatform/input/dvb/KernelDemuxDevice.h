#pragma once

#include <memory>
#include <string>
#include <utility>

#include "softplatform/input/FileDescriptor.h"
#include "softplatform/input/dvb/DemuxDevice.h"

namespace tvservice {

// A demux device of this machine.
class KernelDemuxDevice final : public DemuxDevice {
  public:
    // Opens the device; use it as a DemuxOpener.
    static std::unique_ptr<DemuxDevice> Open(const std::string& path, int& error);

    int SetBufferSize(size_t bytes) override;
    int SetFilter(const dmx_sct_filter_params& filter) override;
    ssize_t Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return device_.get(); }

  private:
    explicit KernelDemuxDevice(FileDescriptor device) : device_(std::move(device)) {}

    const FileDescriptor device_;
};

}  // namespace tvservice
