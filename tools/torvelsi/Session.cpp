#include "tools/torvelsi/Session.h"

#include <fmt/format.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "generator/Scenarios.h"
#include "tools/torvelsi/Format.h"

namespace tool {

namespace {

constexpr const char kDemo[] = "demo:";
std::atomic<bool> s_interrupted{false};

}  // namespace

const char* const kInputHelp =
    "a file, - for standard input, udp://[@]HOST:PORT[?iface=NAME] or rtp://... for datagrams, "
    "dvb:ADAPTER[:DEMUX] for an adapter that is tuned already (this tool does not tune; programs "
    "like dvbv5-zap do), or demo: for a built-in multiplex (demo:NAME for another scenario, see "
    "'torvelsi generate --list')";

tvservice::SourcePtr OpenInput(const std::string& input, const tvservice::SourceOptions& options,
                               std::string& error) {
    if (input.rfind(kDemo, 0) != 0) {
        return tvservice::OpenSource(input, options, error);
    }
    const std::string scenario = input.substr(sizeof(kDemo) - 1);
    std::vector<std::uint8_t> bytes = generator::MakeScenario(scenario.empty() ? "demo" : scenario);
    if (bytes.empty()) {
        error = fmt::format("{}: there is no scenario of that name", Printable(input));
        return nullptr;
    }
    return tvservice::WithOptions(tvservice::MemorySource(input, std::move(bytes)), options, error);
}

void CatchInterrupts() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int signal = 0;
        sigwait(&signals, &signal);
        s_interrupted = true;
        // Again and again: what plays may begin only after the signal.
        constexpr timespec kRepeatInterval{0, 50'000'000};
        do {
            tvservice::SoftwarePlatform::Instance().Interrupt();
            signal = sigtimedwait(&signals, nullptr, &kRepeatInterval);
        } while (signal < 0);
        std::_Exit(128 + signal);
    }).detach();
}

bool Interrupted() {
    return s_interrupted;
}

void SayWhatIsAmiss() {
    constexpr std::string_view kOfPackets[] = {"drop", "duplicate", "reorder", "corrupt"};
    constexpr unsigned kFaultyPacketSize = 188;
    const tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    if (platform.Counter("packets") == 0 && platform.Counter("skipped_bytes") > 0) {
        PrintError("no packets of a transport stream were found");
    }
    const std::vector<tvservice::CounterValue> faults = platform.FaultCounts();
    const bool arePacketsInjured =
        std::any_of(faults.begin(), faults.end(), [&](const tvservice::CounterValue& fault) {
            return fault.value != 0 && std::find(std::begin(kOfPackets), std::end(kOfPackets),
                                                 fault.name) != std::end(kOfPackets);
        });
    if (arePacketsInjured && platform.PacketSize() > kFaultyPacketSize) {
        PrintError(
            fmt::format("faults on packets take {} bytes each time, and the packets here have {}: "
                        "expect losses of sync, too",
                        kFaultyPacketSize, platform.PacketSize()));
    }
}

void PrintError(const std::string& line) {
    fmt::print(stderr, "torvelsi: {}\n", Printable(line));
}

}  // namespace tool
