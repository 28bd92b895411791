// soak MINUTES PACE: plays the demo multiplex, looped, at PACE times real time for MINUTES of wall
// time, while clients subscribe and leave. It prints the counters and what the process uses, at
// minute 5 (or after a tenth of the time if that is earlier) and at the end. Exit status 1 means
// that counters disagree, a thread is left, or memory grew by more than 2 MiB in between.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <thread>

#include "SI/Include/ISectionManager.h"
#include "client/Barrier.h"
#include "generator/Scenarios.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/hostile/ProcessUse.h"
#include "tests/hostile/Visitors.h"
#include "tests/support/Forever.h"

namespace {

using testsupport::ResidentBytesOfThisProcess;
using testsupport::ThreadsOfThisProcess;
using Clock = std::chrono::steady_clock;
using Minutes = std::chrono::duration<double, std::ratio<60>>;

constexpr Minutes kEarly{5};
constexpr std::size_t kMemoryBound = 2 * 1024 * 1024;
constexpr std::uint64_t kReadSize = 256 * 1024;  // of the platform
constexpr unsigned kVisitorThreads = 4;
constexpr std::uint64_t kPacketsPerSecond = 800;  // of the demo
// Sections can be delivered only to the first 65535 subscriptions of a process.
constexpr std::uint64_t kMostVisitors = 50'000;
constexpr std::uint64_t kShortestStay = 100;  // packets

std::atomic<std::uint64_t> g_orphans{0}, g_otherErrors{0};

void Report(Minutes at) {
    std::cout << "minute " << at.count() << ": " << ResidentBytesOfThisProcess() / 1024
              << " KiB resident, " << ThreadsOfThisProcess() << " threads\n"
              << std::flush;
}

// Prints a condition and whether it holds. Returns whether it holds.
bool Check(bool holds, const std::string& claim) {
    std::cout << (holds ? "holds: " : "DOES NOT HOLD: ") << claim << '\n';
    return holds;
}

bool Soak(Minutes minutes, double pace) {
    auto& platform = tvservice::SoftwarePlatform::Instance();
    tvservice::SetLogPriority(6);
    tvservice::SetLogSink([](int, int, const char*, const char* line) {
        const bool isOrphan = std::string_view(line).find("Couldn't find section subscription") !=
                              std::string_view::npos;
        ++(isOrphan ? g_orphans : g_otherErrors);
    });
    Forever<client::Barrier>();
    const std::size_t threadsBefore = ThreadsOfThisProcess();

    std::string error;
    const tvservice::SourcePtr source =
        tvservice::WithOptions(tvservice::MemorySource("demo", generator::MakeScenario("demo")),
                               {.loop = true, .follow = false, .pace = pace, .dvr = false}, error);
    if (source == nullptr || !platform.Start(tvservice::Config{}, error)) {
        std::cerr << error << '\n';
        return false;
    }
    tvservice::PlayOptions options;
    options.barrierInterval = 256 * 1024;
    platform.Play(source, options);
    const Clock::time_point start = Clock::now();

    const auto packets = static_cast<std::uint64_t>(minutes.count() * 60 * pace *
                                                    static_cast<double>(kPacketsPerSecond));
    const std::uint64_t stay = std::max(kShortestStay, packets * kVisitorThreads / kMostVisitors);
    testsupport::Visitors visitors({{0x0000, 0x00},
                                    {0x0001, 0x01},
                                    {0x0010, 0x40},
                                    {0x0011, 0x42},
                                    {0x0011, 0x4A},
                                    {0x0012, 0x4E}},
                                   stay, kVisitorThreads);
    const Minutes early = std::min(kEarly, minutes / 10);
    std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(early));
    const std::size_t memoryEarly = ResidentBytesOfThisProcess();
    Report(early);
    std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(minutes));
    const std::size_t memoryLate = ResidentBytesOfThisProcess();
    Report(minutes);

    visitors.SendAway();
    platform.Interrupt();
    platform.WaitEnd();
    for (const tvservice::CounterValue& row : platform.Counters()) {
        if (row.value != 0) {
            std::cout << "  " << row.name << ' ' << row.value << '\n';
        }
    }
    const std::uint64_t bytes = platform.Counter(tvservice::Counter::kBytes);
    const std::uint64_t played = platform.Counter(tvservice::Counter::kPackets);
    const std::uint64_t delivered = platform.Counter(tvservice::Counter::kDeliveredSections);
    platform.Play(tvservice::MemorySource("nothing", {}));  // returns when all sections are handled
    platform.WaitEnd();
    platform.Stop();

    std::cout << "  " << visitors.came() << " clients came and went, " << visitors.oneShots()
              << " of them with their first section\n"
              << "  " << visitors.sections() << " sections were received, " << g_orphans
              << " came after the release of their filter\n";
    bool isGood = Check(visitors.sections() + g_orphans == delivered, "received = delivered");
    isGood &=
        Check(visitors.oneShotSections() == visitors.oneShots(), "each one-shot got one section");
    isGood &= Check(visitors.refused() == 0 && g_otherErrors == 0, "nothing else went wrong");
    isGood &= Check(played <= bytes / 188 && bytes / 188 - played < kReadSize / 188 + 2,
                    "packets = bytes / 188, except for the last read");
    isGood &= Check(testsupport::ThreadsBecome(threadsBefore), "no thread left behind");
    isGood &= Check(memoryLate < memoryEarly + kMemoryBound, "memory flat");
    return isGood;
}

}  // namespace

int main(int argc, char** argv) {
    const double minutes = argc == 3 ? std::atof(argv[1]) : 0;
    const double pace = argc == 3 ? std::atof(argv[2]) : 0;
    if (!(minutes > 0) || !(pace > 0)) {
        std::cerr << "usage: soak MINUTES PACE\n";
        return 2;
    }
    const bool isGood = Soak(Minutes(minutes), pace);
    std::cout << std::flush;
    std::_Exit(isGood ? 0 : 1);  // the section manager's thread never ends
}
