#include <torvelsi/ISectionManager.h>
#include <tvservice/SoftwarePlatform.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

// Counts whole sections: one that was cut still has the section_length of the whole.
class Counter : public TORVEL_MW::ISectionObserver {
  public:
    void OnSectionReceived(unsigned short, unsigned short, unsigned short length,
                           unsigned char* data) override {
        if (length >= 3 && length >= 3 + ((data[1] & 0x0F) << 8 | data[2])) {
            ++m_whole;
        }
        ++m_sections;
    }
    void OnSectionTimeout(unsigned int) override {}
    std::atomic<std::uint64_t> m_whole{0};
    std::atomic<std::uint64_t> m_sections{0};
};

int main(int argc, char** argv) {
    tvservice::Config config;
    config.faults = {"drop=1/100", "cut=1/10", "refuse-subscribe@1"};
    config.faultSeed = 7;
    auto& platform = tvservice::SoftwarePlatform::Instance();
    std::string error = "which stream?";
    const auto source = argc == 2 ? tvservice::OpenSource(argv[1], error) : nullptr;
    if (!source || !platform.Start(config, error)) {
        std::cerr << error << std::endl;
        return 1;
    }
    using Manager = TORVEL_MW::ISectionManager;
    static Counter s_counter;
    const unsigned short pids[] = {0x0000, 0x0010, 0x0011};  // the second is refused
    for (const unsigned short pid : pids) {
        Manager::Instance()->Subscribe(pid, {0}, {0}, {}, s_counter, Manager::EContinuous, 1000);
    }
    platform.Play(source);
    platform.WaitEnd();
    // Everything is delivered; the manager's event thread may still be on its way through it.
    while (s_counter.m_sections < platform.Counter(tvservice::Counter::kDeliveredSections)) {
        std::this_thread::yield();
    }
    for (const tvservice::CounterValue& row : platform.FaultCounts()) {
        std::cout << row.name << ' ' << row.value << "  " << row.meaning << '\n';
    }
    std::cout << s_counter.m_whole << " whole sections" << std::endl;
    std::quick_exit(EXIT_SUCCESS);  // returning from main would end in SIGABRT
}
