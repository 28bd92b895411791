// The calls that reach the kernel. A build machine has no demux: a named pipe replaces the device,
// and this program's own ioctl() replaces the system's.

#include "softplatform/input/dvb/KernelDemuxDevice.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <string>

namespace {

struct IoctlCall {
    int fd = -1;
    unsigned long request = 0;
    unsigned long argument = 0;
    int reason = 0;  // to fail with
};
IoctlCall lastIoctl;

}  // namespace

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    lastIoctl.fd = fd;
    lastIoctl.request = request;
    lastIoctl.argument = va_arg(arguments, unsigned long);
    va_end(arguments);
    errno = lastIoctl.reason;
    return lastIoctl.reason == 0 ? 0 : -1;
}

namespace tvservice {
namespace {

class KernelDemuxDeviceTest : public testing::Test {
  protected:
    void SetUp() override {
        const char* parent = std::getenv("TMPDIR");
        folder_ = std::string(parent != nullptr ? parent : "/tmp") + "/dvbXXXXXX";
        ASSERT_NE(::mkdtemp(folder_.data()), nullptr);
        path_ = folder_ + "/demux0";
        ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
        int error = 0;
        device_ = KernelDemuxDevice::Open(path_, error);
        ASSERT_NE(device_, nullptr) << error;
        lastIoctl = {};
    }
    void TearDown() override {
        ::unlink(path_.c_str());
        ::rmdir(folder_.c_str());
    }
    bool IsReadable() {
        pollfd ready{device_->descriptor(), POLLIN, 0};
        return ::poll(&ready, 1, 0) == 1;
    }

    std::string folder_;
    std::string path_;
    std::unique_ptr<DemuxDevice> device_;
};

TEST_F(KernelDemuxDeviceTest, OpeningWhatIsNotThereTellsWhy) {
    int error = 0;
    EXPECT_EQ(KernelDemuxDevice::Open(folder_ + "/demux1", error), nullptr);
    EXPECT_EQ(error, ENOENT);
}

TEST_F(KernelDemuxDeviceTest, TheBufferSizeItselfIsTheArgument) {
    EXPECT_EQ(device_->SetBufferSize(123456), 0);
    EXPECT_EQ(lastIoctl.fd, device_->descriptor());
    EXPECT_EQ(lastIoctl.request, static_cast<unsigned long>(DMX_SET_BUFFER_SIZE));
    EXPECT_EQ(lastIoctl.argument, 123456u);
}

TEST_F(KernelDemuxDeviceTest, TheFilterGoesByItsAddress) {
    const dmx_sct_filter_params filter{};
    EXPECT_EQ(device_->SetFilter(filter), 0);
    EXPECT_EQ(lastIoctl.fd, device_->descriptor());
    EXPECT_EQ(lastIoctl.request, static_cast<unsigned long>(DMX_SET_FILTER));
    EXPECT_EQ(lastIoctl.argument, reinterpret_cast<unsigned long>(&filter));
}

TEST_F(KernelDemuxDeviceTest, ARefusalIsHandedOn) {
    lastIoctl.reason = EBUSY;
    EXPECT_EQ(device_->SetBufferSize(4096), EBUSY);
    lastIoctl.reason = EINTR;
    EXPECT_EQ(device_->SetFilter({}), EINTR);
}

TEST_F(KernelDemuxDeviceTest, AReadGivesWhatIsThereAndNeverWaits) {
    uint8_t buffer[16] = {};
    EXPECT_FALSE(IsReadable());
    EXPECT_EQ(device_->Read(buffer, sizeof(buffer)), -EAGAIN);

    const int writer = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(::write(writer, "\x70\x70\x05", 3), 3);
    ::close(writer);
    EXPECT_TRUE(IsReadable());
    EXPECT_EQ(device_->Read(buffer, sizeof(buffer)), 3);
    EXPECT_EQ(buffer[2], 5);
}

TEST_F(KernelDemuxDeviceTest, ItsEndClosesTheDevice) {
    const int fd = device_->descriptor();
    EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    device_.reset();
    EXPECT_EQ(::fcntl(fd, F_GETFD), -1);
}

}  // namespace
}  // namespace tvservice
