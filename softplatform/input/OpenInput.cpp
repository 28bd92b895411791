#include "softplatform/input/OpenInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <utility>

#include "softplatform/input/Descriptor.h"
#include "softplatform/input/ErrorText.h"
#include "softplatform/input/FileSource.h"
#include "softplatform/input/RtpSource.h"
#include "softplatform/input/StreamSource.h"
#include "softplatform/input/UdpSource.h"
#include "softplatform/input/dvb/DvbAddress.h"
#include "softplatform/input/dvb/DvbSource.h"

namespace tvservice {

namespace {

constexpr char kDvbScheme[] = "dvb:";

// The packets that the tool which tuned the adapter sends to its dvr device.
std::shared_ptr<Source> OpenDvr(const std::string& uri, std::string& error) {
    const std::optional<DvbPaths> paths = ParseDvbAddress(uri, error);
    if (!paths) {
        return nullptr;
    }
    Descriptor device(::open(paths->dvr.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (device.get() < 0) {
        error = OpenErrorText(paths->dvr, errno);
        return nullptr;
    }
    return std::make_shared<StreamSource>(paths->dvr, std::move(device), true);
}

}  // namespace

std::shared_ptr<Source> OpenInput(const std::string& uri, std::string& error) {
    if (uri == "-") {
        const std::string name = "standard input";
        Descriptor standardInput(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
        if (standardInput.get() < 0) {
            error = OpenErrorText(name, errno);
            return nullptr;
        }
        return std::make_shared<StreamSource>(name, std::move(standardInput));
    }
    if (uri.rfind("udp://", 0) == 0) {
        return UdpSource::Open(uri, error);
    }
    if (uri.rfind("rtp://", 0) == 0) {
        return RtpSource::Open(uri, error);
    }
    if (uri.rfind(kDvbScheme, 0) == 0) {
        return DvbSource::Open(uri, error);
    }
    // O_NONBLOCK: a named pipe opens at once, with or without a writer.
    Descriptor file(::open(uri.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
        error = OpenErrorText(uri, errno);
        if (uri.find("://") != std::string::npos) {
            error += " (and of schemes there are udp:// and rtp://)";
        }
        return nullptr;
    }
    if (S_ISDIR(status.st_mode)) {
        error = OpenErrorText(uri, EISDIR);
        return nullptr;
    }
    if (S_ISREG(status.st_mode) || S_ISBLK(status.st_mode)) {
        return std::make_shared<FileSource>(uri, std::move(file),
                                            static_cast<uint64_t>(status.st_size));
    }
    return std::make_shared<StreamSource>(uri, std::move(file));
}

std::shared_ptr<Source> OpenInput(const std::string& uri, const InputOptions& options,
                                  std::string& error) {
    std::shared_ptr<Source> source = options.dvr ? OpenDvr(uri, error) : OpenInput(uri, error);
    return source ? WithOptions(std::move(source), options, error) : nullptr;
}

}  // namespace tvservice
