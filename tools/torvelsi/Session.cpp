#include "tools/torvelsi/Session.h"

#include <fmt/format.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/StandardOutput.h"

namespace tool {

namespace {

/// When writing one piece of output takes longer than this, its reader has stopped reading.
constexpr std::chrono::milliseconds kLongestStall(500);

std::atomic<bool> s_interrupted{false};

}  // namespace

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
        // Interrupts again and again, because the input may begin to play only after the signal.
        constexpr timespec kRepeatInterval{0, 50'000'000};
        int second = -1;
        do {
            tvservice::SoftwarePlatform::Instance().Interrupt();
            second = sigtimedwait(&signals, nullptr, &kRepeatInterval);
        } while (second < 0 && OutputStall() < kLongestStall);
        std::_Exit(128 + (second < 0 ? signal : second));
    }).detach();
}

void SurviveMappedFiles() {
    struct sigaction action {};
    action.sa_sigaction = [](int number, siginfo_t* info, void* /*context*/) {
        if (!tvservice::RepairMappedSource(info->si_addr)) {
            ::signal(number, SIG_DFL);  // the instruction runs again and now ends the process
        }
    };
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGBUS, &action, nullptr);
}

bool Interrupted() {
    return s_interrupted;
}

void WarnAboutInput() {
    constexpr std::string_view kOfPackets[] = {"drop", "duplicate", "reorder", "corrupt"};
    constexpr unsigned kFaultyPacketSize = 188;
    const tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    if (platform.Counter(tvservice::Counter::kPackets) == 0 &&
        platform.Counter(tvservice::Counter::kSkippedBytes) > 0) {
        PrintError("no packets of a transport stream were found");
    }
    const std::vector<tvservice::CounterValue> faults = platform.FaultCounts();
    const bool arePacketsInjured =
        std::any_of(faults.begin(), faults.end(), [&](const tvservice::CounterValue& fault) {
            return fault.value != 0 && std::find(std::begin(kOfPackets), std::end(kOfPackets),
                                                 fault.name) != std::end(kOfPackets);
        });
    if (arePacketsInjured && platform.PacketSize() > kFaultyPacketSize) {
        PrintError(fmt::format(
            "faults on packets assume packets of {} bytes; the packets here have {}, so "
            "packet sync may be lost as well",
            kFaultyPacketSize, platform.PacketSize()));
    }
}

void PrintError(const std::string& line) {
    fmt::print(stderr, "torvelsi: {}\n", Printable(line));
}

}  // namespace tool
