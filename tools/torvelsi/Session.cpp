#include "tools/torvelsi/Session.h"

#include <fmt/format.h>
#include <signal.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
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

void PrintError(const std::string& line) {
    fmt::print(stderr, "torvelsi: {}\n", line);
}

}  // namespace tool
