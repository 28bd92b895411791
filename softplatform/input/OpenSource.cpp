// The functions on sources that SoftwarePlatform.h declares.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <optional>
#include <utility>

#include "softplatform/input/BufferSource.h"
#include "softplatform/input/ErrorText.h"
#include "softplatform/input/FileDescriptor.h"
#include "softplatform/input/FileSource.h"
#include "softplatform/input/FollowSource.h"
#include "softplatform/input/LoopSource.h"
#include "softplatform/input/MappedSource.h"
#include "softplatform/input/PaceSource.h"
#include "softplatform/input/RtpSource.h"
#include "softplatform/input/Source.h"
#include "softplatform/input/StreamSource.h"
#include "softplatform/input/Timer.h"
#include "softplatform/input/UdpSource.h"
#include "softplatform/input/dvb/DvbAddress.h"
#include "softplatform/input/dvb/DvbSource.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace tvservice {

namespace {

template <class Kind>
SourcePtr ToSource(std::shared_ptr<Kind> kind) {
    return kind != nullptr ? std::make_shared<Source>(std::move(kind)) : nullptr;
}

SourcePtr OpenUdp(const std::string& uri, const SourceOptions& /*options*/, std::string& error) {
    return ToSource<ByteSource>(UdpSource::Open(uri, error));
}

SourcePtr OpenRtp(const std::string& uri, const SourceOptions& /*options*/, std::string& error) {
    return ToSource<ByteSource>(RtpSource::Open(uri, error));
}

SourcePtr OpenDvb(const std::string& uri, const SourceOptions& options, std::string& error) {
    if (!options.dvr) {
        return ToSource<const DvbSource>(DvbSource::Open(uri, error));
    }
    const std::optional<DvbPaths> paths = ParseDvbAddress(uri, error);
    if (!paths) {
        return nullptr;
    }
    FileDescriptor device(::open(paths->dvr.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (device.get() < 0) {
        error = OpenErrorText(paths->dvr, errno);
        return nullptr;
    }
    return ToSource<ByteSource>(
        std::make_shared<StreamSource>(paths->dvr, std::move(device), true));
}

// All schemes. A new one is a line here; docs/adding-an-input.md lists the other steps.
struct Scheme {
    SourceScheme description;
    SourcePtr (*open)(const std::string& uri, const SourceOptions& options, std::string& error);
};
constexpr Scheme kSchemes[] = {
    {{"udp://", "udp://[@]HOST:PORT[?iface=NAME]", "UDP datagrams to a host or a group", false},
     OpenUdp},
    {{"rtp://", "rtp://[@]HOST:PORT[?iface=NAME]", "the same with RTP", false}, OpenRtp},
    {{kDvbScheme, kDvbForm, "the sections of an adapter that another program has tuned", true},
     OpenDvb},
};

const Scheme* FindScheme(const std::string& uri) {
    const auto* const found = std::find_if(
        std::begin(kSchemes), std::end(kSchemes),
        [&](const Scheme& scheme) { return uri.rfind(scheme.description.prefix, 0) == 0; });
    return found != std::end(kSchemes) ? found : nullptr;
}

std::string KnownSchemes() {
    std::string names;
    for (const Scheme& scheme : kSchemes) {
        names += (names.empty() ? "" : ", ") + std::string(scheme.description.prefix);
    }
    return names;
}

SourcePtr OpenStandardInput(std::string& error) {
    const std::string name = "standard input";
    FileDescriptor standardInput(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    if (standardInput.get() < 0) {
        error = OpenErrorText(name, errno);
        return nullptr;
    }
    return ToSource<ByteSource>(std::make_shared<StreamSource>(name, std::move(standardInput)));
}

// Opens a regular file or a block device as a file; everything else as a stream that cannot be
// rewound.
SourcePtr OpenPath(const std::string& path, const SourceOptions& options, std::string& error) {
    // With O_NONBLOCK a named pipe opens at once, even without a writer.
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
        error = OpenErrorText(path, errno);
        if (path.find("://") != std::string::npos) {
            error += " (known schemes: " + KnownSchemes() + ")";
        }
        return nullptr;
    }
    if (S_ISDIR(status.st_mode)) {
        error = OpenErrorText(path, EISDIR);
        return nullptr;
    }
    const auto size = static_cast<uint64_t>(status.st_size);
    if (S_ISREG(status.st_mode) && options.mapped) {
        return ToSource<ByteSource>(std::make_shared<MappedSource>(path, std::move(file), size));
    }
    if (S_ISREG(status.st_mode) || S_ISBLK(status.st_mode)) {
        return ToSource<ByteSource>(std::make_shared<FileSource>(path, std::move(file), size));
    }
    return ToSource<ByteSource>(std::make_shared<StreamSource>(path, std::move(file)));
}

SourcePtr Open(const std::string& uri, const SourceOptions& options, std::string& error) {
    const Scheme* const scheme = FindScheme(uri);
    if (options.dvr && (scheme == nullptr || !scheme->description.hasDvr)) {
        error = "cannot open " + Visible(uri) + ": only " + kDvbForm + " has a dvr device";
        return nullptr;
    }
    if (scheme != nullptr) {
        return scheme->open(uri, options, error);
    }
    return uri == "-" ? OpenStandardInput(error) : OpenPath(uri, options, error);
}

// Why the options do not fit the source or each other: the end of an error line. Null when they do.
const char* Objection(const SourceInfo& source, const SourceOptions& options) {
    if (options.loop && options.follow) {
        return ": it can be looped or followed, not both";
    }
    if (source.live && (options.loop || options.follow)) {
        return ": a live input has no end, so it cannot be looped or followed";
    }
    if (!source.rewindable && options.loop) {
        return ": only an input that can be read again can be looped";
    }
    if (!source.rewindable && options.follow) {
        return ": only a file can be followed";
    }
    if (source.live && options.pace != 0) {
        return ": a live input cannot be paced";
    }
    // Written with !, so that NaN is refused too.
    if (options.pace != 0 && !(options.pace >= kMinPace && options.pace <= kMaxPace)) {
        return ": the pace must be from 0.001 to 1000000";
    }
    return nullptr;
}

}  // namespace

std::vector<SourceScheme> SourceSchemes() {
    std::vector<SourceScheme> schemes;
    for (const Scheme& scheme : kSchemes) {
        schemes.push_back(scheme.description);
    }
    return schemes;
}

SourcePtr OpenSource(const std::string& uri, std::string& error) {
    return OpenSource(uri, {}, error);
}

SourcePtr OpenSource(const std::string& uri, const SourceOptions& options, std::string& error) {
    return WithOptions(Open(uri, options, error), options, error);
}

SourcePtr WithOptions(SourcePtr source, const SourceOptions& options, std::string& error) {
    if (source == nullptr) {
        return nullptr;
    }
    const SourceInfo info = Describe(*source);
    if (const char* const objection = Objection(info, options)) {
        error = "cannot open " + Visible(info.name) + objection;
        return nullptr;
    }
    std::shared_ptr<ByteSource> bytes = source->bytes();
    try {
        if (options.loop) {
            bytes = std::make_shared<LoopSource>(std::move(bytes));
        }
        if (options.follow) {
            bytes =
                std::make_shared<FollowSource>(std::move(bytes), std::make_unique<SystemTimer>());
        }
        if (options.pace != 0) {
            bytes = std::make_shared<PaceSource>(std::move(bytes), std::make_unique<SystemTimer>(),
                                                 options.pace);
        }
    } catch (const std::system_error& noTimer) {
        error = OpenErrorText(info.name, noTimer.code().value());
        return nullptr;
    }
    return bytes == source->bytes() ? source : ToSource(std::move(bytes));
}

SourcePtr MemorySource(std::string name, std::vector<unsigned char> bytes, std::size_t piece) {
    return ToSource<ByteSource>(
        std::make_shared<BufferSource>(std::move(name), std::move(bytes), piece));
}

SourcePtr BorrowedSource(std::string name, const unsigned char* bytes, std::size_t size,
                         std::size_t piece) {
    return ToSource<ByteSource>(
        std::make_shared<BufferSource>(std::move(name), ByteView(bytes, size), piece));
}

SourceInfo Describe(const Source& source) {
    if (const auto bytes = source.bytes()) {
        return {bytes->name(), bytes->size(), bytes->rewindable(), bytes->live()};
    }
    return {source.device()->name(), 0, false, true};
}

}  // namespace tvservice
