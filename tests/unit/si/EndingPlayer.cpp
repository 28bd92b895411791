// A process that plays an endless stream through the shared libraries. Once sections arrive, it
// ends in the way that its argument names. Run by ProcessExit_test.cpp. It prints "s" for the first
// section of each of its first subscriptions.

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <string>
#include <thread>

#include "SI/Include/ISectionManager.h"
#include "generator/Scenarios.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/ThreadStacks.h"

namespace {

using TORVEL_MW::ISectionManager;

std::atomic<int> s_begun{0};  // subscriptions that got a section
std::atomic<bool> s_isEnding{false};

class Observer : public TORVEL_MW::ISectionObserver {
    void OnSectionReceived(unsigned short, unsigned short, unsigned short,
                           unsigned char*) override {
        if (++sections_ == 1 && !s_isEnding) {
            static_cast<void>(!write(STDOUT_FILENO, "s", 1));
            ++s_begun;
        }
    }
    void OnSectionTimeout(unsigned int) override {}

    std::atomic<int> sections_{0};
};

void Subscribe() {
    ISectionManager& manager = *ISectionManager::Instance();
    constexpr unsigned int kAMinute = 60000;
    manager.Subscribe(0x0000, 0x00, *new Observer, ISectionManager::EContinuous, kAMinute, false);
    manager.Subscribe(0x0011, 0x42, 0x0421, *new Observer, ISectionManager::EContinuous, kAMinute);
    manager.Subscribe(0x0012, {0x4E}, {0xFE}, {0x00}, *new Observer, ISectionManager::EToggle,
                      kAMinute);
}

bool Play() {
    std::string error;
    tvservice::SourceOptions options;
    options.loop = true;
    auto& platform = tvservice::SoftwarePlatform::Instance();
    return platform.Start() &&
           platform.Play(tvservice::WithOptions(
               tvservice::MemorySource("demo", generator::MakeScenario("demo")), options, error));
}

}  // namespace

int main(int argc, char** argv) {
    testsupport::WriteStacksOnAlarm();
    const std::string way = argc > 1 ? argv[1] : "";
    tvservice::SetLogPriority(7);
    Subscribe();
    if (!Play()) {
        return 97;
    }
    while (s_begun < 3) {
        std::this_thread::yield();
    }
    s_isEnding = true;
    if (way == "return") {
        return 0;
    }
    if (way == "exit") {
        std::exit(0);
    }
    if (way == "exit-elsewhere") {
        std::thread([] { std::exit(0); }).join();
    }
    if (way == "own-handler") {
        std::set_terminate([] { _exit(7); });
        return 0;
    }
    if (way == "subscriptions-come-and-go") {
        std::thread([] {
            for (;;) {
                ISectionManager& manager = *ISectionManager::Instance();
                manager.Unsubscribe(manager.Subscribe(0x0000, 0x00, *new Observer,
                                                      ISectionManager::EContinuous, 0, true));
            }
        }).detach();
        return 0;
    }
    if (way == "stopped") {
        tvservice::SoftwarePlatform::Instance().Stop();
        return 0;
    }
    if (way == "quick-exit") {
        std::quick_exit(EXIT_SUCCESS);
    }
    return 98;
}
