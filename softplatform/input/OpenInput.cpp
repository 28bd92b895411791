#include "softplatform/input/OpenInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "softplatform/input/Descriptor.h"
#include "softplatform/input/ErrorText.h"
#include "softplatform/input/FileSource.h"
#include "softplatform/input/RtpSource.h"
#include "softplatform/input/StreamSource.h"
#include "softplatform/input/UdpSource.h"

namespace tvservice {

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
    // O_NONBLOCK: a named pipe opens at once, with or without a writer.
    Descriptor file(::open(uri.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
        error = OpenErrorText(uri, errno);
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
    std::shared_ptr<Source> source = OpenInput(uri, error);
    return source ? WithOptions(std::move(source), options, error) : nullptr;
}

}  // namespace tvservice
