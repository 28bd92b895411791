// Benchmarks of section acquisition: the queue between the platform's thread and the event thread,
// and the cost of a subscription.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "SI/SectionFilter/Korvo/Src/EventQueue.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace {

// One thread: the cost of a record when nothing waits for it.
void QueuePushPop(benchmark::State& state) {
    TORVEL_MW::EventQueue<int> queue;
    for ([[maybe_unused]] const auto _ : state) {
        queue.Push(std::make_unique<int>(1));
        benchmark::DoNotOptimize(queue.Pop());
    }
}
BENCHMARK(QueuePushPop);

// Two threads: each side waits for the record of the other.
void QueueBetweenThreads(benchmark::State& state) {
    TORVEL_MW::EventQueue<bool> queue;
    TORVEL_MW::EventQueue<bool> answers;
    std::thread other([&] {
        while (*queue.Pop()) {
            answers.Push(std::make_unique<bool>(true));
        }
    });
    for ([[maybe_unused]] const auto _ : state) {
        queue.Push(std::make_unique<bool>(true));
        benchmark::DoNotOptimize(answers.Pop());
    }
    queue.Push(std::make_unique<bool>(false));
    other.join();
}
BENCHMARK(QueueBetweenThreads)->UseRealTime();

// The cost of a thread alone. Every subscription has one, so no subscription can cost less.
void StartAndJoinAThread(benchmark::State& state) {
    for ([[maybe_unused]] const auto _ : state) {
        std::thread([] {}).join();
    }
}
BENCHMARK(StartAndJoinAThread)->UseRealTime();

class Observer final : public TORVEL_MW::ISectionObserver {
  public:
    void OnSectionReceived(unsigned short, unsigned short, unsigned short,
                           unsigned char*) override {}
    void OnSectionTimeout(unsigned int) override {}
};

// The cost of a subscription while this many others exist.
void SubscribeAndUnsubscribe(benchmark::State& state) {
    using TORVEL_MW::ISectionManager;
    constexpr unsigned kNoTimeout = 0xFFFFFFFF;
    tvservice::SetLogPriority(7);
    tvservice::SoftwarePlatform::Instance().Start();
    // The manager's thread may still use an observer that was just unsubscribed.
    static Observer observer;
    ISectionManager& manager = *ISectionManager::Instance();
    const auto subscribe = [&](int number) {
        return manager.Subscribe(static_cast<unsigned short>(0x100 + number), 0x02, observer,
                                 ISectionManager::EContinuous, kNoTimeout, false);
    };
    std::vector<unsigned> others;
    for (int i = 1; i <= state.range(0); ++i) {
        others.push_back(subscribe(i));
    }
    for ([[maybe_unused]] const auto _ : state) {
        manager.Unsubscribe(subscribe(0));
    }
    for (const unsigned id : others) {
        manager.Unsubscribe(id);
    }
}
BENCHMARK(SubscribeAndUnsubscribe)
    ->ArgName("others")
    ->Arg(0)
    ->Arg(15)
    ->Arg(63)
    ->Arg(250)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    // The section manager lives as long as the process. Returning from main would end in SIGABRT.
    std::quick_exit(0);
}
