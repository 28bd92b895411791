#include "softplatform/input/dvb/KernelDemuxDevice.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

namespace tvservice {

std::unique_ptr<DemuxDevice> KernelDemuxDevice::Open(const std::string& path, int& error) {
    FileDescriptor device(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
    if (device.get() < 0) {
        error = errno;
        return nullptr;
    }
    return std::unique_ptr<DemuxDevice>(new KernelDemuxDevice(std::move(device)));
}

int KernelDemuxDevice::SetBufferSize(size_t bytes) {
    // This ioctl takes the size itself, not a pointer to it.
    return ::ioctl(device_.get(), DMX_SET_BUFFER_SIZE, static_cast<unsigned long>(bytes)) < 0
               ? errno
               : 0;
}

int KernelDemuxDevice::SetFilter(const dmx_sct_filter_params& filter) {
    return ::ioctl(device_.get(), DMX_SET_FILTER, &filter) < 0 ? errno : 0;
}

ssize_t KernelDemuxDevice::Read(uint8_t* buffer, size_t size) {
    const ssize_t count = ::read(device_.get(), buffer, size);
    return count < 0 ? -errno : count;
}

}  // namespace tvservice
