// A process that used the section manager, ending in the way that its argument names. Run by
// ProcessExit_test.cpp.

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <thread>

#include "SI/Include/ISectionManager.h"
#include "SI/SectionFilter/Korvo/Src/KorvoSectionManager.h"
#include "tests/support/ThreadStacks.h"
#include "tests/unit/si/Call.h"

namespace {

using TORVEL_MW::CKorvoSectionManager;
using TORVEL_MW::ISectionManager;

class Observer : public TORVEL_MW::ISectionObserver {
    void OnSectionReceived(unsigned short, unsigned short, unsigned short,
                           unsigned char*) override {}
    void OnSectionTimeout(unsigned int) override {}
};

void Push(int id) {
    unsigned char section[64] = {0x42};
    CKorvoSectionManager::s_OnSectionData(true, sizeof(section), section, id);
}

// Waits until every other thread of the process sleeps. The event thread sleeps when its queue is
// empty.
void WaitUntilTheOthersWait() {
    bool areAllWaiting = false;
    while (!areAllWaiting) {
        std::this_thread::yield();
        areAllWaiting = true;
        for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
            const int thread = std::stoi(task.path().filename());
            areAllWaiting &= thread == ThreadNumber() || IsAsleep(thread);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    testsupport::WriteStacksOnAlarm();
    const std::string way = argc > 1 ? argv[1] : "";
    ISectionManager* const manager = ISectionManager::Instance();
    if (way == "immediately") {
        return 0;
    }
    manager->Subscribe(0x11, 0x42, *new Observer, ISectionManager::EContinuous, 0xFFFFFFFF, false);
    if (way == "idle") {
        Push(1);
        WaitUntilTheOthersWait();
    } else if (way == "section-just-pushed") {
        for (int i = 0; i < 100; ++i) {
            Push(1);
        }
    } else if (way == "producer-still-pushing" || way == "slow-handler") {
        for (int i = 0; i < 2; ++i) {
            std::thread([] {
                for (;;) {
                    Push(1);
                    std::this_thread::yield();
                }
            }).detach();
        }
        if (way == "slow-handler") {
            std::set_terminate([] {
                std::this_thread::sleep_for(std::chrono::milliseconds(150));
                std::abort();
            });
        }
    } else if (way == "forked-child") {
        // A lock that another thread holds at this moment stays locked in the child for ever.
        WaitUntilTheOthersWait();
        const pid_t child = fork();
        if (child != 0) {
            int status = 0;
            waitpid(child, &status, 0);
            signal(SIGABRT, SIG_DFL);
            if (WIFSIGNALED(status)) {
                raise(WTERMSIG(status));
            }
            _exit(99);
        }
    } else if (way == "exit") {
        std::exit(0);
    } else if (way == "quick-exit") {
        Push(1);
        std::printf("flushed");
        std::fflush(nullptr);
        std::quick_exit(EXIT_SUCCESS);
    } else {
        return 98;
    }
    return 0;
}
