// The texts that people type: inputs, their options, faults, numbers and durations. Nothing is
// opened: this file replaces open() and socket() and records their arguments. Input: the text; its
// last byte also chooses the options of reading.

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "softplatform/fault/FaultSpec.h"
#include "softplatform/input/UdpAddress.h"
#include "softplatform/input/dvb/DvbAddress.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/Arguments.h"

namespace {

// What opening an input asked the system for.
struct Asked {
    std::vector<std::string> paths;
    int sockets = 0;
};

Asked* s_asked = nullptr;  // null outside of OpenSource

}  // namespace

extern "C" {

// The linker option --wrap makes every call of open() a call of __wrap_open.
int __real_open(const char* path, int flags, unsigned mode);
int __wrap_open(const char* path, int flags, unsigned mode);
int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol);

int __wrap_open(const char* path, int flags, unsigned mode) {
    if (s_asked == nullptr) {
        return __real_open(path, flags, mode);
    }
    s_asked->paths.emplace_back(path);
    errno = ENOENT;
    return -1;
}

int __wrap_socket(int domain, int type, int protocol) {
    if (s_asked == nullptr) {
        return __real_socket(domain, type, protocol);
    }
    ++s_asked->sockets;
    errno = EMFILE;
    return -1;
}

}  // extern "C"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// A text is either understood, or one line says why it is not.
void RequireWord(bool isUnderstood, const std::string& error) {
    Require(isUnderstood == error.empty());
    Require(error.find('\n') == std::string::npos);
}

bool Begins(const std::string& text, const std::string& with) {
    return text.compare(0, with.size(), with) == 0;
}

// What opening an input has to ask for, by its scheme.
Asked Expected(const std::string& uri, bool dvr) {
    Asked expected;
    std::string error;
    if (dvr || Begins(uri, "dvb:")) {
        if (const auto paths = tvservice::ParseDvbAddress(uri, error)) {
            expected.paths.push_back(dvr ? paths->dvr : paths->demux);
        }
    } else if (Begins(uri, "udp://") || Begins(uri, "rtp://")) {
        tvservice::UdpAddress address;
        expected.sockets = tvservice::ParseUdpUri(uri, address, error) ? 1 : 0;
    } else if (uri != "-") {
        expected.paths.emplace_back(uri.c_str());
    }
    return expected;
}

void OpenNothing(const std::string& uri, const tvservice::SourceOptions& options) {
    const Asked expected = Expected(uri, options.dvr);
    Asked asked;
    std::string error;
    s_asked = &asked;
    const auto source = tvservice::OpenSource(uri, options, error);
    s_asked = nullptr;
    RequireWord(source != nullptr, error);
    Require(asked.paths == expected.paths && asked.sockets == expected.sockets);
    // Only standard input is open already. It has an end and cannot restart.
    Require(source == nullptr || (uri == "-" && !options.dvr && !options.loop && !options.follow));
}

tvservice::SourceOptions OptionsOf(unsigned choice) {
    constexpr double kPaces[] = {0,
                                 1,
                                 0.5,
                                 1e-300,
                                 std::numeric_limits<double>::max(),
                                 -1,
                                 std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()};
    tvservice::SourceOptions options;
    options.loop = (choice & 1) != 0;
    options.follow = (choice & 2) != 0;
    options.dvr = (choice & 4) != 0;
    options.pace = kPaces[(choice >> 3) % std::size(kPaces)];
    return options;
}

// A stream in memory can restart and has an end.
void Wrap(const std::string& name, const tvservice::SourceOptions& options) {
    std::string error;
    const auto source = tvservice::WithOptions(
        tvservice::MemorySource(name, std::vector<unsigned char>(188)), options, error);
    RequireWord(source != nullptr, error);
    Require((source != nullptr) == (!(options.loop && options.follow) &&
                                    (options.pace == 0 || (options.pace >= tvservice::kMinPace &&
                                                           options.pace <= tvservice::kMaxPace))));
    Require(source == nullptr ||
            tvservice::Describe(*source).live == (options.loop || options.follow));
}

// Returns null when the text is refused with a message.
template <class Parse>
auto Parsed(Parse parse) -> std::optional<decltype(parse())> {
    try {
        return parse();
    } catch (const std::invalid_argument& refusal) {
        Require(*refusal.what() != '\0');
        return std::nullopt;
    }
}

void ParseNumbers(const std::string& text) {
    constexpr unsigned int kLongest = 2147483647;
    if (const auto milliseconds = Parsed([&] { return tool::ParseDuration(text); })) {
        Require(*milliseconds <= kLongest);
        Require(tool::ParseDuration(std::to_string(*milliseconds) + "ms") == *milliseconds);
    }
    for (const std::uint64_t largest : {std::uint64_t{0x1FFF}, UINT64_MAX}) {
        if (const auto number = Parsed([&] { return tool::ParseNumber(text, largest); })) {
            Require(*number <= largest);
            Require(tool::ParseNumber(std::to_string(*number), largest) == *number);
        }
    }
    if (const auto bytes = Parsed([&] { return tool::ParseBytes(text); })) {
        Require(!bytes->empty() && bytes->size() <= text.size() / 2);
    }
    if (const auto level = Parsed([&] { return tool::ParseLogLevel(text); })) {
        Require(*level >= 3 && *level <= 7);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const tvservice::SourceOptions options = OptionsOf(size > 0 ? data[size - 1] : 0);
    for (const char* const scheme : {"", "udp://", "rtp://", "dvb:"}) {
        OpenNothing(scheme + text, {});
        OpenNothing(scheme + text, options);
    }
    Wrap(text, options);
    for (const char* const scheme : {"udp://", "rtp://"}) {
        std::string error;
        tvservice::UdpAddress address;
        RequireWord(tvservice::ParseUdpUri(scheme + text, address, error), error);
    }
    std::string error;
    RequireWord(tvservice::ParseDvbAddress("dvb:" + text, error).has_value(), error);
    error.clear();
    RequireWord(tvservice::FaultSpec::Parse(text, error).has_value(), error);
    ParseNumbers(text);
    return 0;
}
